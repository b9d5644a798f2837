# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0

# The tree as it is installed, and what others build upon it. Included where the build is the one that
# is shipped.
quor_add_python_test(install install_test.py ${QUOR_TEST_BUILD} ${PROJECT_VERSION})
foreach(compiler g++ clang++)
  foreach(standard 11 20)
    quor_add_python_test(consumers_${compiler}_cxx${standard} consumers_test.py ${QUOR_TEST_BUILD}
                         ${compiler} ${standard})
  endforeach()
endforeach()
# The oldest standard by one compiler and the newest by the other show what a change breaks.
set_tests_properties(package.consumers_g++_cxx20 package.consumers_clang++_cxx11 PROPERTIES LABELS long)
quor_add_python_test(bill_of_materials bill_of_materials_test.py ${PROJECT_BINARY_DIR})
quor_add_python_test(own_platform own_platform_test.py ${QUOR_TEST_BUILD})

# Needs what only those of the packages need.
quor_add_python_test(rpm rpm_test.py ${QUOR_TEST_BUILD} ${PROJECT_VERSION})
set_tests_properties(package.rpm PROPERTIES LABELS long)

# Minutes: they build everything anew.
quor_add_python_test(debian_packages debian_packages_test.py ${PROJECT_SOURCE_DIR})
quor_add_python_test(reproducible reproducible_test.py ${QUOR_TEST_BUILD})
set_tests_properties(package.debian_packages package.reproducible PROPERTIES
  LABELS long TIMEOUT 3600 RUN_SERIAL ON)
