// SPDX-License-Identifier: Apache-2.0
#include "BusFacts.h"

#include "Control/Bus/RunningInstance.h"
#include "Foundation/Environment.h"
#include "Platform/Linux/Consent/LinuxConsentStore.h"
#include "Platform/Linux/System/RecentErrors.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDBusVariant>

#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace vello {

using namespace std::chrono_literals;

/// What is known so far. Any thread.
class BusInquiry::Notebook {
public:
    template <class Change> void note(Change change) {
        const std::lock_guard lock(mutex_);
        change(facts_);
    }
    void close() {
        const std::lock_guard lock(mutex_);
        isComplete_ = true;
        closed_.notify_all();
    }
    BusFacts wait(std::chrono::steady_clock::time_point deadline) {
        std::unique_lock lock(mutex_);
        closed_.wait_until(lock, deadline, [this] { return isComplete_; });
        return facts_;
    }

private:
    std::mutex mutex_;
    std::condition_variable closed_;
    BusFacts facts_;
    bool isComplete_ = false;
};

namespace {

constexpr std::chrono::milliseconds kPatienceForACall = 1s;

QDBusMessage ask(const QDBusConnection& bus, QDBusMessage question) {
    question.setAutoStartService(false);
    return bus.call(question, QDBus::Block, static_cast<int>(kPatienceForACall.count()));
}

/// Absent when the bus does not answer.
std::optional<bool> hasOwner(const QDBusConnection& bus, const QString& name) {
    auto question = QDBusMessage::createMethodCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                                   "org.freedesktop.DBus", "NameHasOwner");
    question << name;
    const QDBusReply<bool> reply = ask(bus, question);
    return reply.isValid() ? std::optional(reply.value()) : std::nullopt;
}

bool canBeActivated(const QDBusConnection& bus, const QString& name) {
    const QDBusReply<QStringList> names =
        ask(bus, QDBusMessage::createMethodCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                                "org.freedesktop.DBus", "ListActivatableNames"));
    return names.isValid() && names.value().contains(name);
}

/// A watcher without a host shows nothing.
std::optional<bool> hasTrayHost(const QDBusConnection& bus) {
    const QString watcher = QStringLiteral("org.kde.StatusNotifierWatcher");
    const auto isThere = hasOwner(bus, watcher);
    if (!isThere || !*isThere)
        return isThere;
    auto question = QDBusMessage::createMethodCall(watcher, "/StatusNotifierWatcher",
                                                   "org.freedesktop.DBus.Properties", "Get");
    question << watcher << QStringLiteral("IsStatusNotifierHostRegistered");
    const QDBusReply<QDBusVariant> reply = ask(bus, question);
    return reply.isValid() ? std::optional(reply.value().variant().toBool()) : std::nullopt;
}

void noteHealth(const RunningInstance& instance, auto& notebook) {
    const InstanceHealth health = instance.health();
    notebook.note([&](BusFacts& facts) {
        facts.instance.missedCycles = health.missedCycles;
        facts.lastErrors = health.errors;
    });
}

/// Throws InstanceError.
void noteInstance(const RunningInstance& instance, auto& notebook) {
    const auto pid = instance.pid();
    notebook.note([&](BusFacts& facts) {
        facts.instance.pid = pid;
        facts.instance.answer = InstanceFacts::Answer::silent;
    });
    RunningState state = instance.state();
    state.exemptStreams = instance.exemptStreams();
    notebook.note([&](BusFacts& facts) {
        facts.instance.answer = InstanceFacts::Answer::complete;
        facts.instance.state = std::move(state);
    });
    noteHealth(instance, notebook);
}

void noteSessionBus(const std::string& address, auto& notebook) {
    RunningInstance instance(QString::fromStdString(address), kPatienceForACall);
    notebook.note([](BusFacts& facts) { facts.instance.answer = InstanceFacts::Answer::notRunning; });
    const auto tray = hasTrayHost(instance.bus());
    notebook.note([&](BusFacts& facts) { facts.hasTrayHost = tray; });
    noteInstance(instance, notebook);
}

void noteRealtimeService(auto& notebook) {
    const QString service = QStringLiteral("org.freedesktop.RealtimeKit1");
    const QDBusConnection bus = QDBusConnection::systemBus();
    const bool isThere =
        bus.isConnected() && (hasOwner(bus, service).value_or(false) || canBeActivated(bus, service));
    notebook.note([&](BusFacts& facts) { facts.hasRealtimeService = isThere; });
}

void noteConsent(auto& notebook) {
    const Consent consent = LinuxConsentStore(ConsentPlaces::fromEnvironment(processEnvironment())).read();
    notebook.note([&](BusFacts& facts) { facts.consent = consent; });
}

/// For an instance that has ended.
void noteJournal(auto& notebook) {
    bool isNeeded = false;
    notebook.note([&](const BusFacts& facts) { isNeeded = facts.lastErrors.empty(); });
    if (!isNeeded)
        return;
    std::vector<std::string> errors = errorsInJournal();
    notebook.note([&](BusFacts& facts) { facts.lastErrors = std::move(errors); });
}

/// What one of them cannot find out stays unknown.
template <class Step> void attempt(Step step) {
    try {
        step();
    } catch (const std::exception&) { // the page says "unknown"
    }
}

} // namespace

BusInquiry::BusInquiry() : notebook_(std::make_shared<Notebook>()) {
    std::thread([notebook = notebook_] {
        const std::string address = sessionBusAddress(processEnvironment());
        if (!address.empty())
            attempt([&] { noteSessionBus(address, *notebook); });
        attempt([&] { noteConsent(*notebook); });
        attempt([&] { noteRealtimeService(*notebook); });
        attempt([&] { noteJournal(*notebook); });
        notebook->close();
    }).detach();
}

BusFacts BusInquiry::facts(std::chrono::steady_clock::time_point deadline) const {
    return notebook_->wait(deadline);
}

} // namespace vello
