// The agent's object on a private bus, with a service behind it that notes what it is asked.
#pragma once

#include "platform/qt/QtDescriptors.h"
#include "platform/qt/QtSessionBus.h"
#include "support/BusGround.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace vt::test {

class StubService final : public BusService {
  public:
    std::vector<BusEvent> events;
    std::function<void()> onFirstEvent;
    Result<EventDescriptor::Record> eventReply = EventDescriptor::Record{};
    std::vector<Value::Dictionary> driveList;
    std::vector<std::string> asked;
    Result<Value::Dictionary> driveAnswer = Value::Dictionary{};
    Result<void> outcome;
    bool answersLater = false;
    bool answersNever = false;
    std::function<void()> owed;
    bool ended = false;

    Result<EventDescriptor::Record> event(const BusEvent& event) override {
        events.push_back(event);
        if (onFirstEvent) std::exchange(onFirstEvent, {})();
        return eventReply;
    }
    std::vector<Value::Dictionary> drives() override { return driveList; }
    std::vector<Value::Dictionary> volumes() override { return {}; }
    void adopt(const std::string& path, DriveCompletion done) override {
        asked.push_back("adopt " + path);
        if (answersNever) return;
        owed = [this, done] { done(driveAnswer); };
        if (!answersLater) owed();
    }
    void forget(const std::string& path, Completion done) override {
        asked.push_back("forget " + path);
        done(outcome);
    }
    void progress(const std::string& path, DriveCompletion done) override {
        asked.push_back("progress " + path);
        done(driveAnswer);
    }
    void eject(const std::string& path, Completion done) override {
        asked.push_back("eject " + path);
        done(outcome);
    }
    void explain(const std::string& drive, const std::string& path, DriveCompletion done) override {
        asked.push_back("explain " + drive + " " + path);
        done(driveAnswer);
    }
    std::vector<Value::Dictionary> waitingList;
    std::vector<Value::Dictionary> waiting() override { return waitingList; }
    void quit() override { ended = true; }
};

inline QString latin(const char* text) {
    return QString::fromLatin1(text);
}

inline std::string nameOf(const QDBusMessage& reply) {
    return reply.errorName().toStdString();
}

class QtSessionBusTest : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(bus.start(service).ok()); }
    QDBusMessage sendEvent(const EventDescriptor::Record& parameters) {
        return ground.call(qtbus::eventsInterface, "Send",
                           {QStringLiteral("vnTR"), QStringLiteral("GETL"), *qtdescriptors::toBus(parameters)});
    }
    QDBusMessage onPath(const char* member, const char* path) {
        return ground.call(qtbus::drivesInterface, member, {QString::fromUtf8(path)});
    }
    // Not waited for.
    QDBusPendingCall ask(const char* interface, const char* member, const QVariantList& arguments) {
        QDBusMessage call = QDBusMessage::createMethodCall(latin(qtbus::busName), latin(qtbus::objectPath),
                                                           latin(interface), latin(member));
        call.setArguments(arguments);
        return ground.caller.asyncCall(call, patience);
    }
    static constexpr int patience = 600'000; // milliseconds; the usual 25 s are short for so many on a busy computer
    BusGround ground;
    StubService service;
    QtSessionBus bus{ground.agent};
};

} // namespace vt::test
