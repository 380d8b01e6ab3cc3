// The item copier on a fake disk: the same events, answers and leavings as the real one. Thread: any.
// Errors: as ItemCopyService says; those that the disk's faults name too.
#pragma once

#include "platform/DriveRoot.h"
#include "platform/ItemCopyService.h"
#include "platform/fake/FakeDisk.h"

namespace vt {

class FakeItemCopy final : public ItemCopyService {
  public:
    // `disk` and `drive`, which may be null, outlive this. What the destination can hold is asked of its volume.
    explicit FakeItemCopy(FakeDisk& disk, const DriveRoot* drive = nullptr) : _disk(disk), _drive(drive) {}

    CopyOutcome copyItem(const std::string& source, const std::string& destination, CopyObserver& observer) override;

  private:
    enum class Ending : std::uint8_t { made, leftOut, failed, quit };
    struct Run { // one call of copyItem
        CopyObserver& observer;
        CopyOutcome outcome;
        bool anyFailed = false;
    };
    struct Item { // one item of a run
        CopyEvent event;
        FakeSpot source;
        FakeSpot destination;
    };
    [[nodiscard]] Ending copy(Run& run, const std::string& source, const std::string& destination);
    [[nodiscard]] Ending copyFile(Run& run, Item& item);
    [[nodiscard]] Ending copyContent(Run& run, Item& item, FakeNode& copied, FileAttributes& before);
    [[nodiscard]] Ending copyLink(Run& run, Item& item);
    [[nodiscard]] Ending copyFolder(Run& run, Item& item);
    [[nodiscard]] int setDates(const Item& item, const FileAttributes& wanted, FakeNode& copied);
    [[nodiscard]] int check(const std::string& path) const; // of the bound drive
    static void takeRights(const FakeNode& source, FakeNode& copied);

    FakeDisk& _disk;
    const DriveRoot* _drive;
};

} // namespace vt
