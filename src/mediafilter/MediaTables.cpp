#include "mediafilter/MediaTables.h"

#include <deque>

namespace vt::mediatables {

namespace {

// Never destroyed: drives may still ask while the process ends.
std::deque<VTContainerValidator>& allValidators() {
    static auto* validators = new std::deque<VTContainerValidator>;
    return *validators;
}

} // namespace

const VTContainerValidator& buildValidator(const Row& row) {
    VTContainerValidator& validator =
        allValidators().emplace_back(row.pattern, row.containerType, true, row.defaultOnMatch);
    for (const VTCodecValidator* codec : row.codecs)
        if (codec != nullptr) validator.addValidator(codec);
    if (row.special != nullptr) validator.addSpecialValidator(row.special);
    return validator;
}

ContainerValidatorList buildList(std::span<const Row> rows) {
    ContainerValidatorList list;
    list.reserve(rows.size());
    for (const Row& row : rows) list.push_back(row.shared != nullptr ? &row.shared() : &buildValidator(row));
    return list;
}

} // namespace vt::mediatables
