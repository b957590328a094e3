// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/Consent/LinuxCaptureAuthorization.h"

#include "Foundation/Descriptor.h"
#include "Platform/Linux/Consent/ConsentFile.h"
#include "support/RecordingSystemLog.h"
#include "support/session/PrivateBus.h"
#include "support/TemporaryFolder.h"
#include "support/WaitUntil.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>

#include <QCoreApplication>

namespace vello {
namespace {

using session::PrivateBus;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;
using namespace std::chrono_literals;

/// Words for busctl: a method of the permission store.
std::vector<std::string> storeCall(const std::vector<std::string>& words) {
    const std::string name = "org.freedesktop.impl.portal.PermissionStore";
    std::vector<std::string> call{name, "/org/freedesktop/impl/portal/PermissionStore", name};
    call.insert(call.end(), words.begin(), words.end());
    return call;
}

/// A place behind a bus's own in an address, where clients come that do not find the bus. It counts as one
/// that nobody listens on, because the file that its clients have to send is missing.
class NextPlace {
public:
    NextPlace() {
        auto* const name = reinterpret_cast<sockaddr*>(&name_);
        socklen_t size = sizeof name_;
        if (::bind(listener_.number(), name, size) != 0 || ::listen(listener_.number(), 1) != 0 ||
            ::getsockname(listener_.number(), name, &size) != 0)
            throw std::runtime_error("cannot listen");
    }
    std::string address() const {
        return "nonce-tcp:host=127.0.0.1,port=" + std::to_string(ntohs(name_.sin_port)) +
               ",noncefile=/missing";
    }
    bool awaitClient() const {
        return waitUntil(
            [this] { return Descriptor(::accept(listener_.number(), nullptr, nullptr)).isOpen(); });
    }

private:
    const Descriptor listener_{::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)};
    sockaddr_in name_{
        .sin_family = AF_INET, .sin_port = 0, .sin_addr = {htonl(INADDR_LOOPBACK)}, .sin_zero = {}};
};

class LinuxCaptureAuthorizationTest : public testing::Test {
protected:
    using Authorization = std::unique_ptr<LinuxCaptureAuthorization>;

    PrivateBus& openBus(PrivateBus::Services services = PrivateBus::Services::ofTheMachine) {
        bus_ = std::make_unique<PrivateBus>(folder_ / "bus", services);
        places_.busAddress = bus_->address();
        return *bus_;
    }
    Authorization authorization(std::vector<std::string> question = {"/bin/false"}) {
        auto made = std::make_unique<LinuxCaptureAuthorization>(log_, places_, question);
        made->onDidChange([this] { ++changes_; });
        return made;
    }
    LinuxConsentStore store() const { return LinuxConsentStore(places_); }
    bool becomes(const Authorization& authorization, Consent answer) {
        return waitUntil([&] { return authorization->preflight() == answer; });
    }

    TemporaryFolder folder_;
    ConsentPlaces places_{folder_ / "data/EQ/capture-consent", ""};
    int argumentCount_ = 1;
    char name_[5] = "test";
    char* arguments_[2] = {name_, nullptr};
    QCoreApplication application_{argumentCount_, arguments_};
    RecordingSystemLog log_;
    std::unique_ptr<PrivateBus> bus_;
    int changes_ = 0;
};

TEST_F(LinuxCaptureAuthorizationTest, IsUndecidedBeforeTheUserHasAnswered) {
    EXPECT_EQ(authorization()->preflight(), Consent::undecided);
    openBus();
    EXPECT_EQ(authorization()->preflight(), Consent::undecided);
    EXPECT_EQ(store().read(), Consent::undecided);
}

TEST_F(LinuxCaptureAuthorizationTest, TakesTheAnswerFromTheFileWhereThereIsNoBus) {
    store().write(Consent::allowed);
    EXPECT_EQ(authorization()->preflight(), Consent::allowed);
    store().write(Consent::denied);
    EXPECT_EQ(authorization()->preflight(), Consent::denied);
    EXPECT_EQ(ConsentFile(places_.file).read(), Consent::denied);
}

TEST_F(LinuxCaptureAuthorizationTest, TakesTheFileWhereNobodyOffersAPermissionStore) {
    openBus(PrivateBus::Services::none);
    store().write(Consent::allowed);
    EXPECT_EQ(ConsentFile(places_.file).read(), Consent::allowed);
    EXPECT_EQ(authorization()->preflight(), Consent::allowed);
}

TEST_F(LinuxCaptureAuthorizationTest, TakesTheFileWhereTheAddressLeadsToNoBus) {
    places_.busAddress = "unix:path=" + (folder_ / "missing").string();
    store().write(Consent::allowed);
    EXPECT_EQ(authorization()->preflight(), Consent::allowed);
    places_.busAddress = "nonsense";
    EXPECT_EQ(authorization()->preflight(), Consent::allowed);
}

TEST_F(LinuxCaptureAuthorizationTest, FollowsTheFile) {
    const Authorization running = authorization();
    store().write(Consent::allowed);
    EXPECT_TRUE(becomes(running, Consent::allowed));
    store().write(Consent::denied);
    EXPECT_TRUE(becomes(running, Consent::denied));
    std::filesystem::remove(places_.file);
    EXPECT_TRUE(becomes(running, Consent::undecided));
    EXPECT_TRUE(waitUntil([&] { return changes_ == 3; }));
}

TEST_F(LinuxCaptureAuthorizationTest, KeepsTheAnswerInThePermissionStoreOfTheDesktop) {
    const PrivateBus& bus = openBus();
    store().write(Consent::allowed);
    EXPECT_EQ(bus.call(storeCall({"Lookup", "ss", "vello", "capture"})),
              "a{sas}v 1 \"com.quorvin.Vello\" 1 \"yes\" y 0\n");
    EXPECT_FALSE(std::filesystem::exists(places_.file));
    EXPECT_EQ(authorization()->preflight(), Consent::allowed);
    store().write(Consent::denied);
    EXPECT_EQ(authorization()->preflight(), Consent::denied);
}

TEST_F(LinuxCaptureAuthorizationTest, ThePermissionStoreCountsAndNotTheFile) {
    openBus();
    ConsentFile(places_.file).write(Consent::allowed);
    const Authorization running = authorization();
    EXPECT_EQ(running->preflight(), Consent::undecided);
    store().write(Consent::denied);
    EXPECT_TRUE(becomes(running, Consent::denied));
    ConsentFile(places_.file).write(Consent::allowed);
    EXPECT_EQ(authorization()->preflight(), Consent::denied);
}

TEST_F(LinuxCaptureAuthorizationTest, FollowsThePermissionStore) {
    const PrivateBus& bus = openBus();
    const Authorization running = authorization();
    store().write(Consent::allowed);
    EXPECT_TRUE(becomes(running, Consent::allowed));
    bus.call(storeCall({"DeletePermission", "sss", "vello", "capture", "com.quorvin.Vello"}));
    EXPECT_TRUE(becomes(running, Consent::undecided)) << "a user's reset of all permissions";
    store().write(Consent::allowed);
    EXPECT_TRUE(becomes(running, Consent::allowed));
    bus.call(storeCall({"Delete", "ss", "vello", "capture"}));
    EXPECT_TRUE(becomes(running, Consent::undecided));
    EXPECT_TRUE(waitUntil([&] { return changes_ == 4; }));
}

TEST_F(LinuxCaptureAuthorizationTest, TakesOnlyItsOwnEntryAndItsOwnWordsForAnAnswer) {
    const PrivateBus& bus = openBus();
    const auto set = [&](const std::string& application, const std::vector<std::string>& words) {
        std::vector<std::string> call{
            "SetPermission", "sbssas", "vello", "true", "capture", application, std::to_string(words.size())};
        call.insert(call.end(), words.begin(), words.end());
        bus.call(storeCall(call));
    };
    set("org.example.Other", {"yes"});
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{}, {"YES"}, {"true"}, {"yes", "yes"}, {"yes", "no"}, {""}}) {
        set("com.quorvin.Vello", words);
        EXPECT_EQ(store().read(), Consent::undecided) << testing::PrintToString(words);
    }
    set("com.quorvin.Vello", {"yes"});
    EXPECT_EQ(store().read(), Consent::allowed);
}

TEST_F(LinuxCaptureAuthorizationTest, KeepsTheLastAnswerWhileTheBusIsGoneAndLooksAgainWhenItIsBack) {
    PrivateBus& bus = openBus();
    store().write(Consent::allowed);
    const Authorization running = authorization();
    ASSERT_EQ(running->preflight(), Consent::allowed);
    bus.stop();
    ConsentFile(places_.file).write(Consent::denied);
    bus.start();
    store().write(Consent::denied);
    EXPECT_TRUE(becomes(running, Consent::denied));
    EXPECT_EQ(changes_, 1) << "the file meant nothing meanwhile";
    store().write(Consent::allowed);
    EXPECT_TRUE(becomes(running, Consent::allowed)) << "it follows again";
}

TEST_F(LinuxCaptureAuthorizationTest, LooksForTheBusThatHasGoneUntilItIsBack) {
    const NextPlace nextPlace;
    PrivateBus& bus = openBus();
    places_.busAddress += ";" + nextPlace.address();
    const Authorization running = authorization();
    bus.stop();
    ASSERT_TRUE(nextPlace.awaitClient());
    bus.start();
    store().write(Consent::allowed);
    EXPECT_TRUE(becomes(running, Consent::allowed));
}

TEST_F(LinuxCaptureAuthorizationTest, WaitsForABusThatIsSilentNoLongerThanTwoSeconds) {
    PrivateBus& bus = openBus();
    store().write(Consent::allowed);
    bus.freeze(true);
    const auto begun = std::chrono::steady_clock::now();
    const Authorization running = authorization();
    EXPECT_LT(std::chrono::steady_clock::now() - begun, 4s);
    EXPECT_EQ(running->preflight(), Consent::undecided) << "not knowing is no consent";
    bus.freeze(false);
    EXPECT_TRUE(becomes(running, Consent::allowed));
}

TEST_F(LinuxCaptureAuthorizationTest, AnswersARequestWithWhatTheUserAnswered) {
    const std::string file = places_.file.string();
    const Authorization running =
        authorization({"/bin/sh", "-c",
                       "umask 077; mkdir -p '" + places_.file.parent_path().string() +
                           "'; echo capture allowed >'" + file + "'"});
    int answers = 0;
    running->request([&](bool isGranted) { answers += isGranted ? 1 : 100; });
    running->request([&](bool isGranted) { answers += isGranted ? 1 : 100; });
    EXPECT_TRUE(running->isAsking());
    EXPECT_TRUE(waitUntil([&] { return answers == 2; }));
    EXPECT_FALSE(running->isAsking());
    EXPECT_TRUE(becomes(running, Consent::allowed));
    running->openSettings();
    EXPECT_THAT(log_.messages(), IsEmpty());
}

TEST_F(LinuxCaptureAuthorizationTest, AnAnswerThatWasNotGivenIsNone) {
    for (const char* const exit : {"exit 1", "exit 0"}) { // which says that it stored one
        const std::filesystem::path log = folder_ / exit;
        const Authorization running =
            authorization({"/bin/sh", "-c", "echo >>'" + log.string() + "'; " + exit});
        int answers = 0;
        // A request that comes while a question is open joins it: the second question follows the first's
        // end.
        EXPECT_TRUE(waitUntil([&] {
            running->request([&](bool) { ++answers; });
            std::error_code error;
            return std::filesystem::file_size(log, error) >= 2 && !error;
        }));
        EXPECT_EQ(answers, 0) << exit;
        EXPECT_EQ(running->preflight(), Consent::undecided);
    }
}

TEST_F(LinuxCaptureAuthorizationTest, AnOpenQuestionEndsWithItsObject) {
    int answers = 0;
    Authorization running = authorization({"/bin/sleep", "1000"});
    running->request([&](bool) { ++answers; });
    running.reset();
    EXPECT_EQ(answers, 0);
}

TEST_F(LinuxCaptureAuthorizationTest, SaysInTheLogWhyItCannotAsk) {
    const Authorization running = authorization({"/missing/program"});
    running->request([](bool) {});
    running->request([](bool) {});
    EXPECT_THAT(log_.messages(LogLevel::error), ElementsAre(StartsWith("Cannot ask for the consent: "),
                                                            StartsWith("Cannot ask for the consent: ")));
}

TEST_F(LinuxCaptureAuthorizationTest, FindsTheBusByItsAddressElseBesideTheOtherSocketsOfTheSession) {
    const PrivateBus& bus = openBus();
    std::map<std::string, std::string> variables{{"XDG_RUNTIME_DIR", folder_ / "bus/run"},
                                                 {"XDG_DATA_HOME", "/data"}};
    const Environment environment = [&](const char* name) {
        return variables.contains(name) ? variables[name].c_str() : nullptr;
    };
    EXPECT_EQ(ConsentPlaces::fromEnvironment(environment).busAddress, bus.address());
    EXPECT_EQ(ConsentPlaces::fromEnvironment(environment).file, "/data/EQ by QUORVIN/capture-consent");
    variables["XDG_RUNTIME_DIR"] = folder_ / "nowhere";
    EXPECT_EQ(ConsentPlaces::fromEnvironment(environment).busAddress, "");
    variables["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=/elsewhere";
    EXPECT_EQ(ConsentPlaces::fromEnvironment(environment).busAddress, "unix:path=/elsewhere");
}

} // namespace
} // namespace vello
