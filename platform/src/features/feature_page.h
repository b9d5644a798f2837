// The page behind FeatureList: built-in defaults until the host's `features` file is mapped over
// it.
#ifndef PLATFORM_SRC_FEATURES_FEATURE_PAGE_H_
#define PLATFORM_SRC_FEATURES_FEATURE_PAGE_H_

namespace HostPlatform {

namespace Io {
class Directory;
}

// Maps the host's `features` file when that has not been done; a missing or unusable file leaves
// the defaults. Costs one load when the file is mapped already, and otherwise one open(). A process
// that was started before the file was made maps it during its next call, which has read its switch
// already: it follows the file from the call after that on. Raises nothing.
void MapFeaturesIfNeeded();

// Maps the file of the present host directory in place of what is mapped now.
void RemapFeatures();

// Creates the host's `features` file with the defaults when it is missing. The caller holds the
// configuration store's lock, and flushes the directory afterwards. Raises Io::Error.
void EnsureFeaturesFile(const Io::Directory& directory);

}  // namespace HostPlatform

#endif  // PLATFORM_SRC_FEATURES_FEATURE_PAGE_H_
