// Decides for one drive which files may go to it: by name, and for some containers by what they hold.
// Thread: shouldCopyItem on the drive's worker (and on the main thread for commands); built on the main thread, then
// unchanged. Owns: nothing but the list; container validators live for the whole run. The owner is held weakly: one
// that is gone reports no cancel. Units: absolute raw-byte paths; names match bytewise in the C locale, case ignored
// for ASCII.
#pragma once

#include "base/Paths.h"
#include "mediafilter/ExclusionTables.h"
#include "mediafilter/ValidatorOwner.h"
#include "platform/FileService.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vt {

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

    [[nodiscard]] bool shouldCopyItem(const std::string& path, bool limitTo4G) const;
    [[nodiscard]] bool shouldCopyItem(const std::string& path, std::string_view baseName, bool limitTo4G) const;
    // The same answer without a look at the disk, for a caller that knows the item: its attributes after following a
    // link. `known` may be null: then it is looked up.
    [[nodiscard]] bool shouldCopyKnownItem(const std::string& path, std::string_view baseName, bool limitTo4G,
                                           const FileAttributes* known) const;

  private:
    const ExclusionTables& _exclusions;
    HomePaths _homePaths;
    FileService& _files;
    std::weak_ptr<const ValidatorOwner> _owner;
    bool _hasOwner = false;
    ContainerValidatorList _containerValidators;
};

} // namespace vt
