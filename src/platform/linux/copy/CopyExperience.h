// What earlier copies have shown about the file systems at both ends, so that no call is made for every file that is
// known to be useless. Thread: one. Everything here saves time only: a stale entry costs a call, never a byte.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace vt {

// How the bytes get from one file to the other, best first.
enum class DataRoad : unsigned char { clone, range, plain };

// What a new file in one folder turned out to be.
struct NewFileTraits {
    std::string folder; // its path
    dev_t device = 0;
    uid_t owner = 0;
    gid_t group = 0;
    mode_t granted = 0;       // permission bits that were asked for and given
    bool known = false;       // a file was made in the folder
    bool datesByPath = false; // closing a file changes its date, so dates are set after it
};

class CopyExperience {
  public:
    static constexpr std::size_t bufferSize = 1024 * 1024;

    // The best road between two devices that has not failed yet.
    [[nodiscard]] DataRoad road(dev_t source, dev_t destination) const;
    void setRoad(dev_t source, dev_t destination, DataRoad road);
    [[nodiscard]] NewFileTraits& traitsBeside(const std::string& destination);
    [[nodiscard]] bool keepsAttributes(dev_t source) const { return source != _withoutAttributes || !_attributesKnown; }
    void setWithoutAttributes(dev_t source);
    [[nodiscard]] bool ownerRefused(uid_t owner, gid_t group) const;
    void setOwnerRefused(uid_t owner, gid_t group) { _refusedOwners.emplace_back(owner, group); }
    [[nodiscard]] char* buffer();
    [[nodiscard]] uid_t user() const { return _user; } // whom the process acts as

  private:
    struct Road {
        dev_t source = 0;
        dev_t destination = 0;
        DataRoad road = DataRoad::clone;
    };
    std::vector<Road> _roads;
    std::vector<std::pair<uid_t, gid_t>> _refusedOwners;
    NewFileTraits _traits;
    dev_t _withoutAttributes = 0;
    bool _attributesKnown = false;
    std::unique_ptr<char[]> _buffer;
    uid_t _user = ::geteuid();
};

} // namespace vt
