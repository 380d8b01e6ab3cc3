// The rows that the media lists are made of, and the lists of each kind. A row is read as: pattern, container type,
// default answer, codec validators in the order in which they are asked.
// Thread: any; each list is built at its first use, which VTMediaFilterStaticInit makes before main() runs.
#pragma once

#include "mediafilter/MediaClasses.h"
#include "mediafilter/VTContainerValidator.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace vt::mediatables {

inline constexpr bool yes = true;
inline constexpr bool no = false;

struct Row {
    const char* pattern = nullptr;
    std::int32_t containerType = 0;
    bool defaultOnMatch = no;
    std::array<const VTCodecValidator*, 4> codecs{};   // null past the last one
    const VTContainerValidator& (*shared)() = nullptr; // set: the row is this validator, held by several lists
    const VTSpecialContentValidator* special = nullptr;
};

// A row for a validator that several lists hold.
constexpr Row held(const VTContainerValidator& (*shared)()) {
    Row row;
    row.shared = shared;
    return row;
}

// Builds what the rows say. The validators live for the whole run.
[[nodiscard]] ContainerValidatorList buildList(std::span<const Row> rows);
[[nodiscard]] const VTContainerValidator& buildValidator(const Row& row);

// Built with the others and in no list, on purpose.
[[nodiscard]] const VTContainerValidator& windowsRtWave();

[[nodiscard]] const ContainerValidatorList& videoList(VTMediaClass mediaClass);
[[nodiscard]] const ContainerValidatorList& audioList(VTMediaClass mediaClass);
[[nodiscard]] const ContainerValidatorList& pictureList(VTMediaClass mediaClass);
[[nodiscard]] const ContainerValidatorList& documentList(VTMediaClass mediaClass);

} // namespace vt::mediatables
