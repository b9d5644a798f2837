// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The page behind FeatureList: the built-in defaults, or the host's `features` file. The file is
// looked up by path repeatedly, as the stores are, so that a process follows a directory that was
// swapped or a link that was changed.
#ifndef PLATFORM_SRC_SERVICES_FEATURE_PAGE_H_
#define PLATFORM_SRC_SERVICES_FEATURE_PAGE_H_

namespace HostPlatform {

namespace Io {
class Directory;
}

// Loads the host's file into the page if it is usable. Raises nothing.
void LoadFeatures();

// Resets the page to the built-in defaults, then loads the file. Must not be called while another
// thread is inside the platform.
void ReloadFeatures();

// LoadFeatures() for a call that reaches a store. The call has read its switch already, so a new
// file takes effect from the next call on. Compares the file's identity every 100 ms, and in every
// call while there is no file; otherwise makes no system call. Raises Io::Error and leaves the page
// alone if the file exists but is unusable, or if a file that differed from the defaults is gone:
// the call must not use a store that the host does not use.
void FollowFeatures();

// The same without the 100 ms; called when a stored file turned out to be another one than before.
void FollowFeaturesNow();

// Creates the host's `features` file with the defaults if it is missing. The caller holds the
// configuration store's lock and flushes the directory afterwards. Raises Io::Error.
void EnsureFeaturesFile(const Io::Directory& directory);

}  // namespace HostPlatform

#endif  // PLATFORM_SRC_SERVICES_FEATURE_PAGE_H_
