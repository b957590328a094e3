// SPDX-License-Identifier: Apache-2.0
#include "Control/CommandLine/Permission.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>

namespace vello {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

/// Keeps the answer in memory.
class FakeConsentStore final : public ConsentStore {
public:
    Consent read() override {
        failWhenBroken();
        return consent;
    }
    void write(Consent answer) override {
        failWhenBroken();
        consent = answer;
        ++writes;
    }

    Consent consent = Consent::undecided;
    int writes = 0;
    bool isBroken = false;

private:
    void failWhenBroken() const {
        if (isBroken)
            throw std::runtime_error("it is broken;\nmend it");
    }
};

class PermissionTest : public testing::Test {
protected:
    int run(PermissionAction action, OutputFormat format = OutputFormat::text) {
        out_.str("");
        error_.str("");
        const AskForConsent ask = [this] {
            ++questions_;
            if (!answer_)
                throw std::runtime_error("nobody to ask");
            return *answer_;
        };
        return runPermission(action, format, store_, ask, out_, error_);
    }

    FakeConsentStore store_;
    std::optional<Consent> answer_ = Consent::undecided;
    int questions_ = 0;
    std::ostringstream out_;
    std::ostringstream error_;
};

TEST_F(PermissionTest, ShowsInOneLineWhatHoldsAndHowToChangeIt) {
    for (const auto& [consent, way] : {std::pair{Consent::undecided, "to allow it: vello permission allow\n"},
                                       {Consent::denied, "to allow it: vello permission allow\n"},
                                       {Consent::allowed, "to forbid it: vello permission deny\n"}}) {
        store_.consent = consent;
        EXPECT_EQ(run(PermissionAction::show), 0);
        EXPECT_THAT(out_.str(), HasSubstr(way));
        EXPECT_EQ(std::ranges::count(out_.str(), '\n'), 1);
    }
    EXPECT_EQ(store_.writes, 0);
    EXPECT_EQ(questions_, 0);
}

TEST_F(PermissionTest, StoresTheAnswerAndSaysWhatHoldsNow) {
    EXPECT_EQ(run(PermissionAction::allow), 0);
    EXPECT_EQ(store_.consent, Consent::allowed);
    EXPECT_THAT(out_.str(), HasSubstr("VELLO may capture"));
    EXPECT_EQ(run(PermissionAction::deny), 0);
    EXPECT_EQ(store_.consent, Consent::denied);
    EXPECT_THAT(out_.str(), HasSubstr("VELLO may not capture"));
    EXPECT_EQ(questions_, 0);
}

TEST_F(PermissionTest, AsksAndStoresTheAnswer) {
    for (const Consent answer : {Consent::allowed, Consent::denied}) {
        answer_ = answer;
        EXPECT_EQ(run(PermissionAction::ask), 0);
        EXPECT_EQ(store_.consent, answer);
        EXPECT_THAT(error_.str(), IsEmpty());
    }
    EXPECT_EQ(questions_, 2);
}

TEST_F(PermissionTest, NoAnswerChangesNothing) {
    store_.consent = Consent::denied;
    EXPECT_EQ(run(PermissionAction::ask), 1);
    EXPECT_EQ(store_.writes, 0);
    EXPECT_THAT(out_.str(), IsEmpty());
    EXPECT_THAT(error_.str(), HasSubstr("no answer was given; VELLO may not capture"));
}

TEST_F(PermissionTest, SaysInOneLineWhatCouldNotBeDone) {
    answer_.reset();
    EXPECT_EQ(run(PermissionAction::ask), 1);
    EXPECT_EQ(error_.str(), "vello: nobody to ask\n");
    store_.isBroken = true;
    for (const PermissionAction action : {PermissionAction::show, PermissionAction::allow}) {
        EXPECT_EQ(run(action), 1);
        EXPECT_EQ(error_.str(), "vello: it is broken;?mend it\n");
        EXPECT_THAT(out_.str(), IsEmpty());
    }
}

Consent answerTyped(const std::string& text) {
    std::istringstream in(text);
    std::ostringstream out;
    const Consent answer = askOnTerminal(in, out);
    EXPECT_THAT(out.str(), HasSubstr("vello permission deny"));
    return answer;
}

TEST(AskOnTerminal, TakesYesAndNo) {
    for (const char* text : {"y\n", "Y\n", "yes\n", " YES \r\n", "y"})
        EXPECT_EQ(answerTyped(text), Consent::allowed) << text;
    for (const char* text : {"n\n", "No\n", "\tno\n"})
        EXPECT_EQ(answerTyped(text), Consent::denied) << text;
}

TEST(AskOnTerminal, AsksAgainAfterAnythingElse) {
    EXPECT_EQ(answerTyped("\nmaybe\nyesterday\ny\n"), Consent::allowed);
    EXPECT_EQ(answerTyped("yy\nn o\nn\n"), Consent::denied);
}

TEST(AskOnTerminal, AnEndOfTheInputIsNoAnswer) {
    EXPECT_EQ(answerTyped(""), Consent::undecided);
    EXPECT_EQ(answerTyped("\n\n"), Consent::undecided);
    EXPECT_EQ(answerTyped(std::string(1000, '\n')), Consent::undecided) << "nor is a terminal that is stuck";
}

TEST_F(PermissionTest, PrintsJSONForPrograms) {
    EXPECT_EQ(run(PermissionAction::allow, OutputFormat::json), 0);
    EXPECT_EQ(out_.str(), "{\"permission\":\"authorized\"}\n");
    store_.isBroken = true;
    EXPECT_EQ(run(PermissionAction::show, OutputFormat::json), 1);
    EXPECT_EQ(error_.str(), R"({"error":{"kind":"failed","message":"it is broken;?mend it","exitCode":1}})"
                            "\n");
}

TEST_F(PermissionTest, SaysThatItCannotPrint) {
    out_.setstate(std::ios::badbit);
    std::ostringstream error;
    EXPECT_EQ(runPermission(
                  PermissionAction::show, OutputFormat::text, store_, [] { return Consent::undecided; }, out_,
                  error),
              1);
    EXPECT_THAT(error.str(), HasSubstr("cannot write to standard output"));
}

} // namespace
} // namespace vello
