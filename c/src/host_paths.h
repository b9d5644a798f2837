// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The host directory, and its files on which the catalogue depends.
#ifndef C_SRC_HOST_PATHS_H_
#define C_SRC_HOST_PATHS_H_

#include <array>
#include <string>

namespace QuorC {

enum Place { kStore, kFile, kSwitches };
inline constexpr std::array<Place, 3> kPlaces = {kStore, kFile, kSwitches};

// "config-store.cdb"
const char* NameOf(Place place);

// QUOR_HOST_DIR as it was when this library was loaded, otherwise /var/lib/quor: as libquor(3)
// says.
std::string HostDirectory();

}  // namespace QuorC

#endif  // C_SRC_HOST_PATHS_H_
