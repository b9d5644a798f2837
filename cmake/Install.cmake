# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0

# What `cmake --install` puts where, in components:
#
#   runtime               the two shared libraries; group and directory of the host
#   development           public header with its manual page, package files for CMake and pkg-config
#   c-runtime             the library for C
#   c-development         its header with its manual page, package files for CMake and pkg-config
#   python                the Python package
#   platform-development  headers of the platform, for programs that bring or administer one
#   tools                 quorctl, its manual pages and completions
#   quor-agent            the daemon of a host in a fleet, its unit, settings and manual page
#   quor-publish          the operator's tool for a fleet, its manual page
#   documentation         texts, examples, bill of materials
#
# The prefix may be moved afterwards, unless it is /usr: every path below it is found relative to the
# file that names it. A platform that the host brings is installed by the host.
include(CMakePackageConfigHelpers)

foreach(directory BINDIR LIBDIR INCLUDEDIR)
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${directory}}")
    message(FATAL_ERROR "CMAKE_INSTALL_${directory} is to be relative to the prefix")
  endif()
endforeach()

set(QUOR_PLATFORM_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/quor-platform)
set(QUOR_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/quor)
set(QUOR_SYSUSERSDIR lib/sysusers.d CACHE STRING "Directory of the description of the group")
set(QUOR_ZSHDIR ${CMAKE_INSTALL_DATADIR}/zsh/site-functions CACHE STRING "Directory of zsh's completions")
set(QUOR_UNITDIR lib/systemd/system CACHE STRING "Directory of systemd's units")
set(QUOR_AGENT_CONFDIR ${CMAKE_INSTALL_DATADIR}/doc/quor-agent CACHE STRING
    "Directory of quor-agent's settings, all of them commented out")
set(QUOR_TMPFILESDIR lib/tmpfiles.d CACHE STRING "Directory of the description of /var/lib/quor")

# The path that leads from one directory below the prefix to another.
function(quor_relative_path variable from to)
  file(RELATIVE_PATH path "/prefix/${from}" "/prefix/${to}")
  string(REGEX REPLACE "/$" "" path "${path}")
  set(${variable} ${path} PARENT_SCOPE)
endfunction()

# Libraries.
install(TARGETS quor EXPORT quor-targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development)
install(TARGETS quorc EXPORT quor-c-targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT c-runtime
          NAMELINK_COMPONENT c-development)
if(NOT QUOR_PLATFORM_TARGET)
  install(TARGETS quor_platform EXPORT quor-targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime
            NAMELINK_COMPONENT platform-development)
endif()
install(FILES packaging/sysusers.d/quor.conf DESTINATION ${QUOR_SYSUSERSDIR} COMPONENT runtime)
install(FILES packaging/tmpfiles.d/quor.conf DESTINATION ${QUOR_TMPFILESDIR} COMPONENT runtime)

# Headers.
install(FILES include/quor/quor_lib.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/quor
        COMPONENT development)
install(FILES include/quor/quor.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/quor
        COMPONENT c-development)
install(DIRECTORY platform/include/ DESTINATION ${QUOR_PLATFORM_INCLUDEDIR}
        COMPONENT platform-development FILES_MATCHING PATTERN "*.h")
install(FILES docs/man/libquor.3 DESTINATION ${CMAKE_INSTALL_MANDIR}/man3 COMPONENT development)
install(FILES docs/man/libquorc.3 DESTINATION ${CMAKE_INSTALL_MANDIR}/man3 COMPONENT c-development)

# CMake package. A platform that the host brings is a part of the host's own build, so that there
# is nothing to be found by others.
if(NOT QUOR_PLATFORM_TARGET)
  install(EXPORT quor-targets NAMESPACE quor:: DESTINATION ${QUOR_CMAKEDIR} COMPONENT development)
  install(EXPORT quor-c-targets NAMESPACE quor:: DESTINATION ${QUOR_CMAKEDIR}
          COMPONENT c-development)
  configure_package_config_file(packaging/quor-config.cmake.in quor-config.cmake
    INSTALL_DESTINATION ${QUOR_CMAKEDIR}
    NO_SET_AND_CHECK_MACRO)
  configure_package_config_file(packaging/quor-platform.cmake.in quor-platform.cmake
    INSTALL_DESTINATION ${QUOR_CMAKEDIR} PATH_VARS QUOR_PLATFORM_INCLUDEDIR
    NO_CHECK_REQUIRED_COMPONENTS_MACRO)
  write_basic_package_version_file(quor-config-version.cmake COMPATIBILITY SameMajorVersion)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/quor-config.cmake
                ${CMAKE_CURRENT_BINARY_DIR}/quor-config-version.cmake
          DESTINATION ${QUOR_CMAKEDIR} COMPONENT development)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/quor-platform.cmake
          DESTINATION ${QUOR_CMAKEDIR} COMPONENT platform-development)
endif()

# pkg-config. In /usr the prefix is named plainly: pkg-config leaves the compiler's own directories
# out of its answers, and knows them by these names only. The prefix is known at installation.
function(quor_install_pc name component)
  set(directory ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
  quor_relative_path(to_prefix ${directory} "")
  set(QUOR_PC_PREFIX "\${pcfiledir}/${to_prefix}")
  configure_file(packaging/${name}.pc.in pkgconfig/relocatable/${name}.pc @ONLY)
  set(QUOR_PC_PREFIX /usr)
  configure_file(packaging/${name}.pc.in pkgconfig/usr/${name}.pc @ONLY)
  install(CODE "
    set(kind relocatable)
    if(CMAKE_INSTALL_PREFIX STREQUAL \"/usr\")
      set(kind usr)
    endif()
    file(INSTALL \"${CMAKE_CURRENT_BINARY_DIR}/pkgconfig/\${kind}/${name}.pc\"
         DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${directory}\" TYPE FILE)"
    COMPONENT ${component})
endfunction()
quor_install_pc(quor development)
quor_install_pc(quorc c-development)
if(NOT QUOR_PLATFORM_TARGET)
  quor_install_pc(quor-platform platform-development)
endif()

if(TARGET quorctl)
  quor_relative_path(QUOR_BIN_TO_LIB ${CMAKE_INSTALL_BINDIR} ${CMAKE_INSTALL_LIBDIR})
  set_target_properties(quorctl PROPERTIES INSTALL_RPATH "$ORIGIN/${QUOR_BIN_TO_LIB}")
  install(TARGETS quorctl RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
  foreach(page quor-catalogue.5 quorctl-examples.7 quorctl.8)
    string(REGEX MATCH "[0-9]$" section ${page})
    install(FILES docs/man/${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section}
            COMPONENT tools)
  endforeach()
  install(FILES tools/quorctl/completion/quorctl.bash RENAME quorctl
          DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT tools)
  install(FILES tools/quorctl/completion/_quorctl DESTINATION ${QUOR_ZSHDIR} COMPONENT tools)
endif()

# The unit names the program by the prefix, which is known at installation.
if(TARGET quor-agent)
  quor_relative_path(QUOR_BIN_TO_LIB ${CMAKE_INSTALL_BINDIR} ${CMAKE_INSTALL_LIBDIR})
  set_target_properties(quor-agent PROPERTIES INSTALL_RPATH "$ORIGIN/${QUOR_BIN_TO_LIB}")
  install(TARGETS quor-agent RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT quor-agent)
  install(FILES docs/man/quor-agent.8 DESTINATION ${CMAKE_INSTALL_MANDIR}/man8 COMPONENT quor-agent)
  install(FILES packaging/quor-agent.conf DESTINATION ${QUOR_AGENT_CONFDIR} COMPONENT quor-agent)
  install(CODE "
    set(QUOR_AGENT_PATH \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/quor-agent\")
    configure_file(\"${PROJECT_SOURCE_DIR}/packaging/systemd/quor-agent.service.in\"
                   \"${CMAKE_CURRENT_BINARY_DIR}/quor-agent.service\" @ONLY)
    file(INSTALL \"${CMAKE_CURRENT_BINARY_DIR}/quor-agent.service\"
         DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${QUOR_UNITDIR}\" TYPE FILE)"
    COMPONENT quor-agent)
endif()

if(TARGET quor-publish)
  quor_relative_path(QUOR_BIN_TO_LIB ${CMAKE_INSTALL_BINDIR} ${CMAKE_INSTALL_LIBDIR})
  set_target_properties(quor-publish PROPERTIES INSTALL_RPATH "$ORIGIN/${QUOR_BIN_TO_LIB}")
  install(TARGETS quor-publish RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT quor-publish)
  install(FILES docs/man/quor-publish.8 DESTINATION ${CMAKE_INSTALL_MANDIR}/man8 COMPONENT quor-publish)
endif()

# Texts for users: README.md without the parts that are about the source tree, its links without those
# that would lead nowhere, and the pages that need no source tree.
function(quor_write_installed_readme)
  file(READ README.md text)
  foreach(marks "<!-- source tree -->|<!-- end of source tree -->\n" "<!--|-->\n")
    string(REPLACE "|" ";" marks "${marks}")
    list(GET marks 0 begin)
    list(GET marks 1 end)
    string(LENGTH "${end}" length)
    while(TRUE)
      string(FIND "${text}" "${begin}" first)
      if(first EQUAL -1)
        break()
      endif()
      string(SUBSTRING "${text}" 0 ${first} before)
      string(FIND "${text}" "${end}" last)
      math(EXPR last "${last} + ${length}")
      string(SUBSTRING "${text}" ${last} -1 after)
      set(text "${before}${after}")
    endwhile()
  endforeach()
  string(REGEX REPLACE "\\[([^]]+)\\]\\(((docs/man|include)/[^)]+)\\)" "\\1" text "${text}")
  file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/documentation/README.md "${text}")
endfunction()
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS README.md)
quor_write_installed_readme()
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/documentation/README.md CHANGELOG.md LICENSE SECURITY.md
        DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation)
install(FILES docs/formats.md docs/platform.md docs/python.md DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs
        COMPONENT documentation)
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation)
if(TARGET quorctl AND TARGET quor_platform)
  include(cmake/BillOfMaterials.cmake)
endif()
