// The scan results as a property list file. Nothing writes one in this version. Thread: any. Owns: nothing.
// Errors: those of the file; a file that is no dictionary is EINVAL.
#pragma once

#include "platform/FileService.h"
#include "platform/PropertyLists.h"
#include "sync/compare/ScanResults.h"

#include <string>

namespace vt {

class ScanResultsFile {
  public:
    // `path`: where the controller keeps its scan results.
    ScanResultsFile(FileContents& contents, PropertyLists& propertyLists, std::string path)
        : _contents(contents), _propertyLists(propertyLists), _path(std::move(path)) {}

    // Paths that are no text are written with replacement characters.
    [[nodiscard]] Result<void> write(const ScanResults& results);
    [[nodiscard]] Result<ScanResults> read();

  private:
    FileContents& _contents;
    PropertyLists& _propertyLists;
    std::string _path;
};

} // namespace vt
