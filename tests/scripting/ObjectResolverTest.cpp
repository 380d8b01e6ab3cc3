#include "scripting/ObjectResolver.h"

#include <gtest/gtest.h>

namespace vt {
namespace {

using namespace literals;

// Knows one property of one container.
class NameOfStick final : public ObjectResolver {
  public:
    int asked = 0;
    std::optional<EventDescriptor> resolve(const EventDescriptor& specifier) override {
        ++asked;
        const auto* fields = specifier.record();
        if (fields == nullptr || fields->count("seld"_fcc) == 0 || fields->count("from"_fcc) == 0) return std::nullopt;
        if (fields->at("seld"_fcc) != EventDescriptor("type"_fcc, "pnam")) return std::nullopt;
        if (fields->at("from"_fcc).getFileURL() != "/media/ann/Stick") return std::nullopt;
        return EventDescriptor::descriptorWithText("Stick");
    }
};

EventDescriptor propertyOfStick(FourCharCode property) {
    return *EventDescriptor::propertyDescriptorOfType(property,
                                                      *EventDescriptor::descriptorWithPathAsCFURL("/media/ann/Stick"));
}

TEST(ObjectResolver, WhatIsNoSpecifierComesBackAsItIs) {
    NameOfStick resolver;
    const EventDescriptor rows[] = {EventDescriptor(), EventDescriptor::descriptorWithBOOL(true),
                                    *EventDescriptor::descriptorWithPathAsCFURL("/a"),
                                    EventDescriptor(EventDescriptor::List{EventDescriptor::descriptorWithInt32(1)})};
    for (const EventDescriptor& row : rows) EXPECT_EQ(resolvedObjectSpecifier(row, resolver), row);
    EXPECT_EQ(resolver.asked, 0);
}

TEST(ObjectResolver, ASpecifierIsResolved) {
    NameOfStick resolver;
    EXPECT_EQ(resolvedObjectSpecifier(propertyOfStick("pnam"_fcc), resolver),
              EventDescriptor::descriptorWithText("Stick"));
}

TEST(ObjectResolver, ASpecifierOfNothingGivesNothing) {
    NameOfStick resolver;
    EXPECT_EQ(resolvedObjectSpecifier(propertyOfStick("colr"_fcc), resolver), std::nullopt);
    EXPECT_EQ(resolvedObjectSpecifier(EventDescriptor("obj "_fcc, "no record"), resolver), std::nullopt);
}

} // namespace
} // namespace vt
