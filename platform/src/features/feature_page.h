// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

// The page behind FeatureList: the built-in defaults, or the host's `features` file. The file is
// found by its name again and again, as the stores are: a directory that was moved away and put
// back, or a link that leads elsewhere by now, must not leave a process with another choice.
#ifndef PLATFORM_SRC_FEATURES_FEATURE_PAGE_H_
#define PLATFORM_SRC_FEATURES_FEATURE_PAGE_H_

namespace HostPlatform {

namespace Io {
class Directory;
}

// Brings the page in line with the host's file, as far as that can be used; raises nothing.
void LoadFeatures();

// The same from the built-in defaults on, as in a process that was just started. Not while another
// thread is inside the platform.
void ReloadFeatures();

// The same as LoadFeatures() for a call that reaches a store: which one that is was read from the
// page before, so a file that is new holds from the next call on. Looks at the file's identity each
// 100 ms, and at each call while there is none; otherwise it costs no system call. Raises
// Io::Error, and leaves the page as it is, when a file is there and cannot be used, or when one
// that chose otherwise than the defaults is gone: the call must not go to a store that the host
// does not use.
void FollowFeatures();

// Looks at once: for who has met another stored file than before.
void FollowFeaturesNow();

// Creates the host's `features` file with the defaults when it is missing. The caller holds the
// configuration store's lock, and flushes the directory afterwards. Raises Io::Error.
void EnsureFeaturesFile(const Io::Directory& directory);

}  // namespace HostPlatform

#endif  // PLATFORM_SRC_FEATURES_FEATURE_PAGE_H_
