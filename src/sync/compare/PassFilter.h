// The drive's media filter as one pass asks it: the validator in force and the file size limit are taken once, when the
// pass begins. Thread: the drive's worker. Owns: a share of the validator.
#pragma once

#include "mediafilter/VTFileValidator.h"
#include "platform/FileService.h"
#include "sync/CancelMark.h"
#include "sync/tree/TreeOperations.h"

#include <memory>
#include <string>
#include <string_view>

namespace vt {

class PassFilter : public ItemFilter {
  public:
    PassFilter(FileService& files, const CancelMark& cancel) : _files(files), _cancel(cancel) {}

    void beginPass(std::shared_ptr<VTFileValidator> validator, bool limitTo4G);
    // Without a validator every file is refused. `known`: after following a link, or null.
    [[nodiscard]] bool shouldCopyItem(const std::string& path, std::string_view baseName, bool limitTo4G,
                                      const FileAttributes* known) const override;
    // The same with the drive's own limit.
    [[nodiscard]] bool shouldCopyItem(const std::string& path, std::string_view baseName,
                                      const FileAttributes* known) const {
        return shouldCopyItem(path, baseName, _limitTo4G, known);
    }
    // Refuses while a cancel is pending, and every link. `known`: no link followed, or null.
    [[nodiscard]] bool shouldCopyMediaFile(const std::string& path, std::string_view baseName,
                                           const FileAttributes* known) const;

  private:
    FileService& _files;
    const CancelMark& _cancel;
    std::shared_ptr<VTFileValidator> _validator;
    bool _limitTo4G = false;
};

} // namespace vt
