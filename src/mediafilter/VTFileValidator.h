// Decides for one drive which files may go to it: by name, and for some containers by what they hold.
// Thread: shouldCopyItem on the drive's worker (and on the main thread for commands); built on the main thread, then
// unchanged. Owns: nothing but the list; container validators live for the whole run. The owner is held weakly: one
// that is gone reports no cancel. Units: absolute raw-byte paths; names match bytewise in the C locale, case ignored
// for ASCII.
#pragma once

#include "base/Paths.h"
#include "base/Result.h"
#include "mediafilter/ExclusionTables.h"
#include "mediafilter/ValidatorOwner.h"
#include "platform/FileService.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace vt {

class MediaFacts;
class MediaPass;
class MediaServices;
class NameIndex;
struct FilterTrial;
struct FilterVerdict;
enum class FilterReason : std::uint8_t;
class VTContainerValidator;
using ContainerValidatorList = std::vector<const VTContainerValidator*>;

class VTFileValidator {
  public:
    VTFileValidator(const ExclusionTables& exclusions, HomePaths homePaths, FileService& files);
    ~VTFileValidator();

    void setOwner(std::weak_ptr<const ValidatorOwner> owner);
    std::size_t addContainerValidator(const VTContainerValidator* validator); // the new count
    std::size_t addContainerValidators(const ContainerValidatorList& validators);
    void flushValidators();
    // How to find out what a file holds; outlives this validator. Without it no media file is valid, so that patterns
    // with codec validators refuse.
    void setMediaServices(MediaServices* services);
    // A new pass over the drive starts: forgets what is read once per pass.
    void beginPass();

    [[nodiscard]] bool shouldCopyItem(const std::string& path, bool limitTo4G) const;
    [[nodiscard]] bool shouldCopyItem(const std::string& path, std::string_view baseName, bool limitTo4G) const;
    // The same answer for a caller that knows the item: its attributes after following a link, or null. Only a folder
    // named like a package, a file of 4 GiB or more under the limit, and media content still cost a look at the disk.
    [[nodiscard]] bool shouldCopyKnownItem(const std::string& path, std::string_view baseName, bool limitTo4G,
                                           const FileAttributes* known) const;

    // The answer with its reasons, whether or not a cancel is pending. An error where nothing is at `path`.
    [[nodiscard]] Result<FilterVerdict> explain(const std::string& path, bool limitTo4G, MediaFacts& facts) const;

  private:
    // `path` is standardised; `trials` may be null.
    [[nodiscard]] FilterReason judge(const std::string& path, std::string_view baseName, bool limitTo4G,
                                     const FileAttributes* known, MediaFacts& facts,
                                     std::vector<FilterTrial>* trials) const;
    [[nodiscard]] bool isPackage(const std::string& path) const;
    [[nodiscard]] bool isBelow4G(const std::string& path, const FileAttributes* known) const;
    [[nodiscard]] FilterReason askValidators(const std::string& path, std::string_view baseName, bool limitTo4G,
                                             const FileAttributes* known, MediaFacts& facts,
                                             std::vector<FilterTrial>* trials) const;

    HomePaths _homePaths;
    FileService& _files;
    std::unordered_set<std::string_view> _filteredNames; // views into the exclusion tables
    std::unordered_set<std::string_view> _filteredPaths;
    std::weak_ptr<const ValidatorOwner> _owner;
    ContainerValidatorList _containerValidators;
    std::unique_ptr<const NameIndex> _index; // of the whole list, built anew when it changes
    std::unique_ptr<MediaPass> _media;       // null without media services
};

} // namespace vt
