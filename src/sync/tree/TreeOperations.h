// Merges and moves whole trees: folders are descended into and never replaced, files are copied only where nothing is,
// every item is offered to the filter first, and every byte copied or left out is reported. Thread: the drive's worker.
// Errors: a yes or no; each failure has gone to the handler or the log before it is answered. Units: absolute raw-byte
// paths; sizes in bytes, rounded up to multiples of 512.
#pragma once

#include "base/LogSink.h"
#include "platform/FileService.h"
#include "platform/ItemCopyService.h"
#include "platform/VolumeService.h"
#include "sync/tree/TreeSizes.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace vt {

class MRLErrorReporter;
class RefusedNames;
class ReplacementGuard;
class StagingWatch;

// The drive's media filter as the tree operations ask it.
class ItemFilter {
  public:
    virtual ~ItemFilter() = default;
    // `known` is the item after following a link, or null: then the filter looks itself.
    [[nodiscard]] virtual bool shouldCopyItem(const std::string& path, std::string_view baseName, bool limitTo4G,
                                              const FileAttributes* known) const = 0;
};

class TreeOperations {
  public:
    struct Services {
        FileService& files;
        ItemCopyService& copier;
        VolumeService& volumes;
        const ItemFilter& filter;
        LogSink& log;
        // All of these may be left out.
        StagingWatch* staging = nullptr;                           // told of each item copied
        ReplacementGuard* guard = nullptr;                         // asked before a move destroys something
        const DestinationCapabilities* destination = nullptr;      // of the drive, where they are known already
        std::function<bool(const std::string&)> failedBefore = {}; // this source, or something below it, failed lately
        ClosedFolder closed = {};                                  // no walk enters such a folder
        RefusedNames* refusedNames = nullptr;                      // of the drive that is copied to
    };
    explicit TreeOperations(Services services) : _services(std::move(services)) {}

    // `known`: the source's attributes (no link followed), where the caller has them.
    bool copyPathOntoPath(const std::string& source, const std::string& destination, bool copyingToPushkey,
                          MRLErrorReporter* handler, const FileAttributes* known = nullptr);
    bool movePathOntoPath(const std::string& source, const std::string& destination, bool movingToPushkey,
                          MRLErrorReporter* handler, const FileAttributes* known = nullptr);
    bool copyPathToPath(const std::string& source, const std::string& destination, bool recurse, bool copyingToPushkey,
                        MRLErrorReporter* handler);
    bool createDirectoryAtPath(const std::string& path, const std::uint32_t* mode, bool recurse,
                               bool creatingOnPushkey);
    [[nodiscard]] bool shouldCopyItem(const std::string& path, bool limitTo4G) const;
    [[nodiscard]] std::uint64_t fastPathSize(const std::string& path) const;
    [[nodiscard]] std::uint64_t fastFolderSizeAtPath(const std::string& path) const;
    [[nodiscard]] bool isFolderEmptyAtPath(const std::string& path) const;
    bool changeLockAtFileAtPath(const std::string& path, bool locked);

  private:
    Services _services;
};

} // namespace vt
