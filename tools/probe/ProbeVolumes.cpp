// probe-volumes [--once] [FOLDER...]: prints the mounted volumes with their descriptions, then every event until
// Ctrl-C. The folders are taken as folder drives.
#include "base/Paths.h"
#include "platform/linux/volumes/LinuxVolumes.h"
#include "platform/qt/QtRunLoop.h"

#include <QCoreApplication>

#include <cstdio>
#include <filesystem>
#include <string_view>

namespace {

void print(const char* what, const vt::Value::Dictionary& description) {
    std::printf("%s %s\n", what, vt::paths::displayText(vt::Value(description).description()).c_str());
    std::fflush(stdout);
}

class Printer final : public vt::VolumeObserver {
  public:
    void diskAppeared(const vt::Value::Dictionary& description) override { print("appeared", description); }
    void diskDisappeared(const vt::Value::Dictionary& description) override { print("disappeared", description); }
    void diskDescriptionChanged(const vt::Value::Dictionary& description) override { print("changed", description); }
};

void printVolume(vt::VolumeService& volumes, const std::string& mountPoint) {
    std::printf("volume %s\n", vt::paths::displayText(mountPoint).c_str());
    if (const auto stat = volumes.statVolume(mountPoint))
        std::printf("  on %s from %s, type %s, %llu of %llu bytes free%s\n",
                    vt::paths::displayText(stat->mountedOn).c_str(), vt::paths::displayText(stat->mountedFrom).c_str(),
                    stat->typeName.c_str(), static_cast<unsigned long long>(stat->freeBytes),
                    static_cast<unsigned long long>(stat->totalBytes), stat->readOnly ? ", read-only" : "");
    else
        std::printf("  cannot be asked: %s\n", stat.error().describe().c_str());
    const vt::DestinationCapabilities can = volumes.capabilities(mountPoint);
    std::printf("  case %s, links %s, owners %s, dates to %lld ns, files up to %llu bytes, no \"%s\" in names\n",
                can.caseSensitive ? "counts" : "is folded", can.holdsLinks ? "kept" : "not kept",
                can.holdsOwnership ? "kept" : "not kept", static_cast<long long>(can.dateGranularity),
                static_cast<unsigned long long>(can.largestFile), can.reservedCharacters.c_str());
    if (const auto description = volumes.describe(mountPoint)) print("  described as", *description);
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    vt::QtRunLoop runLoop;
    vt::LinuxVolumes volumes(runLoop);
    bool once = false;
    for (int i = 1; i < argc; ++i) {
        if (std::string_view(argv[i]) == "--once")
            once = true;
        else if (const auto added = volumes.addFolderDrive(std::filesystem::absolute(argv[i])); !added)
            std::fprintf(stderr, "probe-volumes: %s\n", added.error().describe().c_str());
    }
    for (const std::string& mountPoint : volumes.mountedVolumes()) printVolume(volumes, mountPoint);
    if (once) return 0;
    Printer printer;
    volumes.startObserving(printer);
    return runLoop.exec();
}
