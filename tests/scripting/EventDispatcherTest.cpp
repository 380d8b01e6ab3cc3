#include "FakeEventTarget.h"

#include "scripting/EventDispatcher.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <set>

namespace vt {
namespace {

using namespace literals;
using Calls = std::vector<std::string>;

constexpr const char* drive = "/media/ann/Stick";

EventDescriptor url(const std::string& path) {
    return *EventDescriptor::descriptorWithPathAsCFURL(path);
}
EventDescriptor boolean(bool value) {
    return EventDescriptor::descriptorWithBOOL(value);
}
EventDescriptor number(std::int32_t value) {
    return EventDescriptor::descriptorWithInt32(value);
}

BusEvent event(FourCharCode id, EventDescriptor::Record more = {}) {
    BusEvent event{vantaroEventClass, id, std::move(more), true};
    event.parameters.emplace("----"_fcc, url(drive));
    return event;
}

class EventCommands : public testing::Test {
  protected:
    EventDescriptor::Record send(const BusEvent& given) {
        auto reply = dispatcher.dispatch(given);
        EXPECT_TRUE(reply.ok());
        return reply.ok() ? *reply : EventDescriptor::Record{};
    }
    EventDescriptor direct(const BusEvent& given) { return send(given)["----"_fcc]; }
    std::string errorText(const BusEvent& given) {
        auto reply = send(given);
        if (reply.count("errs"_fcc) == 0) return {};
        EXPECT_EQ(reply["errn"_fcc], number(-50));
        return *reply["errs"_fcc].bytes();
    }
    bool logged(const std::string& line) const {
        return std::find(target.log.debugLines.begin(), target.log.debugLines.end(), line) !=
               target.log.debugLines.end();
    }

    FakeEventTarget target;
    EventDispatcher dispatcher{target};
};

TEST_F(EventCommands, TwentyFourAreRegisteredInTheirOrder) {
    std::string ids;
    for (const EventCommand& row : eventCommands()) ids += row.id.text() + " ";
    EXPECT_EQ(ids,
              "QURY GETL SETL GCSS SCSS GSMS SSMS GSSS SSSS GSPS SSPS GSDS SSDS GSDF SSDF GPSS SPSS DHFS GQSS SQSS "
              "DOIT STOP INFO REMV ");
}

TEST_F(EventCommands, UnknownCodesAreNoCommands) {
    EXPECT_EQ(dispatcher.dispatch({"vnTR"_fcc, "XXXX"_fcc, {}, true}).code(), ENOSYS);
    EXPECT_EQ(dispatcher.dispatch({"othr"_fcc, "QURY"_fcc, {}, true}).code(), ENOSYS);
}

// A missing direct object: the media and filter getters spell the text in lower case.
TEST_F(EventCommands, AMissingDirectObjectIsAnErrorOfEveryCommand) {
    const std::set<std::string> lowerCase = {"GSMS", "GSSS", "GSPS", "GSDS", "GSDF"};
    for (const EventCommand& row : eventCommands()) {
        const std::string expected =
            lowerCase.count(row.id.text()) != 0 ? "unable to get event descriptor" : "unable to get Event Descriptor";
        EXPECT_EQ(errorText({vantaroEventClass, row.id, {}, true}), expected) << row.id.text();
        EXPECT_TRUE(logged("-" + std::string(row.handler) + ": " + expected + ".")) << row.id.text();
    }
}

TEST_F(EventCommands, ADirectObjectThatIsNoFileUrlIsAnErrorOfEveryCommand) {
    for (const EventCommand& row : eventCommands()) {
        EventDescriptor::Record parameters;
        parameters.emplace("----"_fcc, EventDescriptor("utf8"_fcc, drive));
        EXPECT_EQ(errorText({vantaroEventClass, row.id, parameters, true}), "unable to retrieve main URL")
            << row.id.text();
        EXPECT_TRUE(logged("-" + std::string(row.handler) + ": unable to retrieve main URL."));
    }
}

struct SetterRow {
    FourCharCode id;
    FourCharCode keyword;
    const char* name;
    const char* types;
    const char* handler;
};

const SetterRow setterRows[] = {
    {"SETL"_fcc, "ITMZ"_fcc, "ITMZ", "typeAEList", "handleSetSyncListEvent"},
    {"SCSS"_fcc, "CSSP"_fcc, "CSSP", "typeTrue or typeFalse", "handleSetContinuousSyncStateEvent"},
    {"SSMS"_fcc, "SMSP"_fcc, "kMRLSyncMoviesStateProperty", "typeTrue or typeFalse", "handleSetSyncMoviesStateEvent"},
    {"SSSS"_fcc, "SSSP"_fcc, "kMRLSyncMusicStateProperty", "typeTrue or typeFalse", "handleSetSyncMusicStateEvent"},
    {"SSPS"_fcc, "SPSP"_fcc, "kMRLSyncPicturesStateProperty", "typeTrue or typeFalse",
     "handleSetSyncPicturesStateEvent"},
    {"SSDS"_fcc, "SDSP"_fcc, "kMRLSyncDocumentsStateProperty", "typeTrue or typeFalse",
     "handleSetSyncDocumentsStateEvent"},
    {"SSDF"_fcc, "SDFP"_fcc, "kMRLSyncDeviceFilterProperty", "typeTrue or typeFalse", "handleSetSyncDeviceFilterEvent"},
    {"SPSS"_fcc, "PSSP"_fcc, "PSSP", "typeTrue or typeFalse", "handleSetParticipateSyncStateEvent"},
    {"SQSS"_fcc, "QSSP"_fcc, "QSSP", "typeTrue or typeFalse", "handleSetQuietSyncStateEvent"},
};

TEST_F(EventCommands, AMissingPropertyIsNamed) {
    for (const SetterRow& row : setterRows) {
        EXPECT_EQ(errorText(event(row.id)), "unable to retrieve " + std::string(row.name) + " property");
        EXPECT_TRUE(logged("-" + std::string(row.handler) + ": cannot get " + row.name + " property"));
    }
    EXPECT_EQ(target.calls, Calls{});
}

TEST_F(EventCommands, APropertyOfAWrongTypeIsNamedWithTheTypesExpected) {
    for (const SetterRow& row : setterRows) {
        EventDescriptor::Record more;
        more.emplace(row.keyword, EventDescriptor("utf8"_fcc, "no"));
        EXPECT_EQ(errorText(event(row.id, more)), std::string(row.name) + " property not " + row.types);
        EXPECT_TRUE(logged("-" + std::string(row.handler) + ": " + row.name + " is not " + row.types + "."));
    }
    EXPECT_EQ(target.calls, Calls{});
}

TEST_F(EventCommands, ADeviceFilterSentAsABooleanIsRefusedWithTheTextOfTheBooleans) {
    EventDescriptor::Record more;
    more.emplace("SDFP"_fcc, boolean(true));
    EXPECT_EQ(errorText(event("SSDF"_fcc, more)), "kMRLSyncDeviceFilterProperty property not typeTrue or typeFalse");
}

TEST_F(EventCommands, QueryAnswersWhetherTheDriveIsSetUp) {
    EXPECT_EQ(direct(event("QURY"_fcc)), boolean(true));
    EXPECT_TRUE(logged("-handleQueryEvent: drive is set up for sync."));
    target.setUp = false;
    EXPECT_EQ(direct(event("QURY"_fcc)), boolean(false));
    EXPECT_TRUE(logged("-handleQueryEvent: drive is not set up for sync."));
    EXPECT_EQ(target.calls, (Calls{"valid? suppressed", "valid? suppressed"}));
}

TEST_F(EventCommands, ABooleanGetterPutsNoIntoTheDirectObjectOnErrorToo) {
    target.valid = false;
    auto reply = send(event("QURY"_fcc));
    EXPECT_EQ(reply["----"_fcc], boolean(false));
    EXPECT_EQ(*reply["errs"_fcc].bytes(), "drive is not valid for sync");
}

TEST_F(EventCommands, TheSyncListComesAsFileUrls) {
    EXPECT_EQ(direct(event("GETL"_fcc)),
              EventDescriptor(EventDescriptor::List{url("/home/ann/Music"), url("/home/ann/My Pictures")}));
    EXPECT_TRUE(logged("-handleGetSyncListEvent: adding to list: /home/ann/My Pictures"));
    target.valid = false;
    auto reply = send(event("GETL"_fcc));
    EXPECT_EQ(*reply["errs"_fcc].bytes(), "bad volume format");
    EXPECT_EQ(reply.count("----"_fcc), 0U);
    EXPECT_TRUE(logged("-handleGetSyncListEvent: non-HFS volume specified."));
}

TEST_F(EventCommands, ANewSyncListIsAbbreviatedAndPassedOn) {
    EventDescriptor::Record more;
    more.emplace("ITMZ"_fcc, EventDescriptor(EventDescriptor::List{url("/home/ann/Music"), url("/srv/a b")}));
    EXPECT_EQ(errorText(event("SETL"_fcc, more)), "");
    EXPECT_EQ(target.calls, Calls{"setSyncList /media/ann/Stick ~/Music /srv/a b"});
    EXPECT_TRUE(logged("-handleSetSyncListEvent: item URL #1 is /home/ann/Music (~/Music)"));
}

TEST_F(EventCommands, AnItemThatIsNoFileUrlIsNamedByItsNumberFromOne) {
    EventDescriptor::Record more;
    more.emplace("ITMZ"_fcc, EventDescriptor(EventDescriptor::List{url("/a"), EventDescriptor("utf8"_fcc, "/b")}));
    EXPECT_EQ(errorText(event("SETL"_fcc, more)), "cannot retrieve fileURL for item 2");
    EXPECT_EQ(target.calls, Calls{});
}

TEST_F(EventCommands, SettingContinuousSyncAlsoUpdatesTheWatchedFolders) {
    EventDescriptor::Record more;
    more.emplace("CSSP"_fcc, boolean(false));
    send(event("SCSS"_fcc, more));
    EXPECT_EQ(target.calls, (Calls{"setContinuous NO /media/ann/Stick", "updateContinuous"}));
}

TEST_F(EventCommands, WithoutAControllerSettersOnlyWriteADebugLine) {
    target.controller = false;
    EventDescriptor::Record continuous;
    continuous.emplace("CSSP"_fcc, boolean(true));
    EXPECT_EQ(errorText(event("SCSS"_fcc, continuous)), "");
    EXPECT_TRUE(logged("-handleSetContinuousSyncStateEvent: no controller for this URL."));
    EventDescriptor::Record movies;
    movies.emplace("SMSP"_fcc, boolean(true));
    EXPECT_EQ(errorText(event("SSMS"_fcc, movies)), "");
    EXPECT_TRUE(logged("-handleSetSyncMoviesStateEvent: no sync controller for this URL."));
    EventDescriptor::Record filter;
    filter.emplace("SDFP"_fcc, number(5));
    EXPECT_EQ(errorText(event("SSDF"_fcc, filter)), "");
    EXPECT_TRUE(logged("-handleSetSyncDeviceFilterEvent: no sync controller for this URL."));
    EXPECT_EQ(target.calls, Calls{});
}

TEST_F(EventCommands, MediaSwitchesAreReadAndSetWithTheirValidator) {
    EXPECT_EQ(direct(event("GSMS"_fcc)), boolean(true));
    EXPECT_EQ(direct(event("GSSS"_fcc)), boolean(true));
    EXPECT_EQ(direct(event("GSPS"_fcc)), boolean(true));
    EXPECT_EQ(direct(event("GSDS"_fcc)), boolean(false));
    const std::pair<FourCharCode, FourCharCode> rows[] = {
        {"SSMS"_fcc, "SMSP"_fcc}, {"SSSS"_fcc, "SSSP"_fcc}, {"SSPS"_fcc, "SPSP"_fcc}, {"SSDS"_fcc, "SDSP"_fcc}};
    int kind = 0;
    for (const auto& [id, keyword] : rows) {
        target.calls.clear();
        EventDescriptor::Record more;
        more.emplace(keyword, boolean(kind % 2 == 0));
        send(event(id, more));
        EXPECT_EQ(target.calls, (Calls{"setMedia" + std::to_string(kind) + (kind % 2 == 0 ? " YES " : " NO ") + drive,
                                       std::string("validator ") + drive}));
        ++kind;
    }
}

TEST_F(EventCommands, TheDeviceFilterIsAnIntegerAndSchedulesASync) {
    EXPECT_EQ(direct(event("GSDF"_fcc)), number(1));
    EventDescriptor::Record more;
    more.emplace("SDFP"_fcc, number(7));
    send(event("SSDF"_fcc, more));
    EXPECT_EQ(target.calls,
              (Calls{"setFilter 7 /media/ann/Stick", "validator /media/ann/Stick", "syncSoon /media/ann/Stick"}));
}

TEST_F(EventCommands, ParticipationOnReappliesTheContinuousStateAndOffCancels) {
    EventDescriptor::Record on;
    on.emplace("PSSP"_fcc, boolean(true));
    send(event("SPSS"_fcc, on));
    EXPECT_EQ(target.calls,
              (Calls{"setParticipate YES /media/ann/Stick", "setContinuous YES /media/ann/Stick", "updateContinuous"}));
    target.calls.clear();
    EventDescriptor::Record off;
    off.emplace("PSSP"_fcc, boolean(false));
    send(event("SPSS"_fcc, off));
    EXPECT_EQ(target.calls,
              (Calls{"setParticipate NO /media/ann/Stick", "cancel /media/ann/Stick", "updateContinuous"}));
    EXPECT_EQ(direct(event("GPSS"_fcc)), boolean(true));
}

TEST_F(EventCommands, QuietAndValidity) {
    EXPECT_EQ(direct(event("GQSS"_fcc)), boolean(true));
    EventDescriptor::Record more;
    more.emplace("QSSP"_fcc, boolean(false));
    send(event("SQSS"_fcc, more));
    EXPECT_EQ(target.calls, Calls{"setQuiet NO /media/ann/Stick"});
    EXPECT_EQ(direct(event("DHFS"_fcc)), boolean(true));
    target.valid = false;
    EXPECT_EQ(direct(event("DHFS"_fcc)), boolean(false));
}

TEST_F(EventCommands, StartStopAndRemove) {
    EXPECT_TRUE(send(event("DOIT"_fcc)).empty());
    EXPECT_TRUE(send(event("STOP"_fcc)).empty());
    EXPECT_EQ(direct(event("REMV"_fcc)), boolean(true));
    EXPECT_EQ(target.calls, (Calls{"start /media/ann/Stick", "cancel /media/ann/Stick", "remove /media/ann/Stick"}));
}

TEST_F(EventCommands, StatusComesUnderItsOwnKeywordAndAnActivityPostFollows) {
    target.users = Value::Dictionary{{"0017F2A1B2C3-501", Value::Dictionary{}}};
    auto reply = send(event("INFO"_fcc));
    EXPECT_EQ(reply["STAT"_fcc], EventDescriptor("STAT"_fcc, "archive of 1"));
    EXPECT_EQ(reply.count("----"_fcc), 0U);
    EXPECT_EQ(target.calls, Calls{"activity"});
}

TEST_F(EventCommands, StatusWithoutUsersIsAnEmptyReplyWithoutError) {
    EXPECT_TRUE(send(event("INFO"_fcc)).empty());
    EXPECT_EQ(target.calls, Calls{"activity"});
}

TEST_F(EventCommands, ASenderThatWantsNoReplyGetsNone) {
    BusEvent silent = event("QURY"_fcc);
    silent.wantsReply = false;
    EXPECT_TRUE(send(silent).empty());
    EXPECT_TRUE(logged("< handleQueryEvent: 'null'()"));
    silent = event("SETL"_fcc);
    silent.wantsReply = false;
    EXPECT_TRUE(send(silent).empty());
}

TEST_F(EventCommands, TheMountPathIsCleanedAtTheCommand) {
    BusEvent start{vantaroEventClass, "DOIT"_fcc, {}, true};
    start.parameters.emplace("----"_fcc, EventDescriptor("furl"_fcc, "file:///media//ann/x/../Stick/"));
    send(start);
    EXPECT_EQ(target.calls, Calls{"start /media/ann/Stick"});
}

TEST_F(EventCommands, AListUnderAnotherTypeCodeIsNoList) {
    EventDescriptor::Record more;
    more.emplace("ITMZ"_fcc, EventDescriptor("utf8"_fcc, EventDescriptor::List{url("/a")}));
    EXPECT_EQ(errorText(event("SETL"_fcc, more)), "ITMZ property not typeAEList");
    EXPECT_EQ(target.calls, Calls{});
}

TEST_F(EventCommands, TheSyncListIsTakenApartBeforeItsUrlIsNamedAgain) {
    EventDescriptor::Record more;
    more.emplace("ITMZ"_fcc, EventDescriptor(EventDescriptor::List{url("/a")}));
    send(event("SETL"_fcc, more));
    EXPECT_EQ(target.log.debugLines,
              (Calls{"> handleSetSyncListEvent: 'vnTR'\\'SETL'{ '----':'furl'(\"file:///media/ann/Stick\"), 'ITMZ':[ "
                     "'furl'(\"file:///a\") ] }",
                     "-handleSetSyncListEvent: main URL is /media/ann/Stick",
                     "-handleSetSyncListEvent: item URL #1 is /a (/a)",
                     "-handleSetSyncListEvent: main URL is /media/ann/Stick",
                     "< handleSetSyncListEvent: 'aevt'\\'ansr'{ }"}));
}

TEST_F(EventCommands, WhatACommandDoesNotAskForIsLeftAlone) {
    EventDescriptor::Record more;
    more.emplace("ITMZ"_fcc, EventDescriptor("utf8"_fcc, "surplus"));
    EXPECT_EQ(direct(event("QURY"_fcc, more)), boolean(true));
}

TEST_F(EventCommands, TheFrameIsDebugLoggedAndSettersNameTheUrlTwice) {
    EventDescriptor::Record more;
    more.emplace("QSSP"_fcc, boolean(true));
    send(event("SQSS"_fcc, more));
    EXPECT_EQ(target.log.debugLines, (Calls{"> handleSetQuietSyncStateEvent: 'vnTR'\\'SQSS'{ "
                                            "'----':'furl'(\"file:///media/ann/Stick\"), 'QSSP':'true'() }",
                                            "-handleSetQuietSyncStateEvent: main URL is /media/ann/Stick",
                                            "-handleSetQuietSyncStateEvent: main URL is /media/ann/Stick",
                                            "< handleSetQuietSyncStateEvent: 'aevt'\\'ansr'{ }"}));
}

} // namespace
} // namespace vt
