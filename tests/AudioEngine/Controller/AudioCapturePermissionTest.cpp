// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Controller/AudioCapturePermission.h"

#include "support/FakeApplicationEvents.h"
#include "support/FakeCaptureAuthorization.h"
#include "support/VirtualMainThread.h"

#include <gmock/gmock.h>

#include <optional>
#include <thread>
#include <vector>

namespace vello {
namespace {

using Status = AudioCapturePermission::Status;
using testing::ElementsAre;
using testing::IsEmpty;

class CapturePermission : public testing::Test {
protected:
    void make() {
        permission_.emplace(authorization_, events_, mainThread_);
        observation_ = permission_->status().observe([this](Status status) { told_.push_back(status); });
    }
    Status status() const { return permission_->status().value(); }

    VirtualMainThread mainThread_;
    FakeApplicationEvents events_;
    FakeCaptureAuthorization authorization_;
    std::optional<AudioCapturePermission> permission_;
    Observation observation_;
    std::vector<Status> told_;
};

TEST_F(CapturePermission, IsTheUsersConsent) {
    for (const auto& [answer, status] :
         {std::pair{Consent::allowed, Status::authorized}, std::pair{Consent::denied, Status::denied},
          std::pair{Consent::undecided, Status::unknown}}) {
        authorization_.answer = answer;
        EXPECT_EQ(AudioCapturePermission(authorization_, events_, mainThread_).status().value(), status);
    }
}

TEST_F(CapturePermission, IsReadOnceFromTheStart) {
    authorization_.answer = Consent::allowed;
    make();
    EXPECT_EQ(status(), Status::authorized);
    EXPECT_THAT(authorization_.calls, ElementsAre("preflight"));
}

TEST_F(CapturePermission, IsReadAgainWhenTheApplicationBecomesActive) {
    make();
    authorization_.answer = Consent::allowed;
    EXPECT_EQ(status(), Status::unknown);
    events_.fireDidBecomeActive();
    authorization_.answer = Consent::denied;
    events_.fireDidBecomeActive();
    authorization_.answer = Consent::undecided;
    events_.fireDidBecomeActive();
    EXPECT_THAT(told_, ElementsAre(Status::authorized, Status::denied, Status::unknown));
}

TEST_F(CapturePermission, IsReadAgainWhenTheSystemReportsAChange) {
    make();
    authorization_.change(Consent::allowed);
    EXPECT_EQ(status(), Status::authorized);
}

TEST_F(CapturePermission, AnUnchangedStatusTellsNobody) {
    authorization_.answer = Consent::denied;
    make();
    permission_->refresh();
    events_.fireDidBecomeActive();
    EXPECT_THAT(told_, IsEmpty());
}

TEST_F(CapturePermission, AGrantedRequestAuthorizesOnceAlsoWhenTheStatusIsReadAfterwards) {
    make();
    permission_->request();
    authorization_.openRequests.at(0)(true);
    EXPECT_EQ(status(), Status::unknown) << "the answer takes its way through the main thread";
    mainThread_.runPosted();
    EXPECT_EQ(status(), Status::authorized);
    authorization_.answer = Consent::allowed;
    events_.fireDidBecomeActive();
    EXPECT_THAT(told_, ElementsAre(Status::authorized));
}

TEST_F(CapturePermission, ARefusedRequestDenies) {
    make();
    permission_->request();
    authorization_.openRequests.at(0)(false);
    mainThread_.runPosted();
    EXPECT_EQ(status(), Status::denied);
}

TEST_F(CapturePermission, ARequestWithoutAnAnswerChangesNothing) {
    authorization_.answer = Consent::undecided;
    make();
    permission_->request();
    mainThread_.advance(std::chrono::hours(1));
    EXPECT_EQ(status(), Status::unknown);
    EXPECT_THAT(told_, IsEmpty());
}

TEST_F(CapturePermission, AnAnswerMayComeOnAnyThread) {
    make();
    permission_->request();
    std::thread([this] { authorization_.openRequests.at(0)(true); }).join();
    mainThread_.runPosted();
    EXPECT_EQ(status(), Status::authorized);
}

TEST_F(CapturePermission, AnAnswerOrANoticeThatComesTooLateFindsNobody) {
    make();
    permission_->request();
    permission_->request();
    authorization_.openRequests.at(0)(true);
    permission_.reset();
    authorization_.openRequests.at(1)(true);
    mainThread_.runPosted();
    events_.fireDidBecomeActive();
    authorization_.change(Consent::allowed);
    EXPECT_THAT(told_, IsEmpty());
    EXPECT_THAT(authorization_.calls, ElementsAre("preflight", "request", "request"));
}

TEST_F(CapturePermission, TheSettingsAreOpenedAndNothingElse) {
    make();
    permission_->openSystemSettings();
    EXPECT_THAT(authorization_.calls, ElementsAre("preflight", "openSettings"));
}

} // namespace
} // namespace vello
