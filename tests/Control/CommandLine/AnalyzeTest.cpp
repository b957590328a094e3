// SPDX-License-Identifier: Apache-2.0
#include "Control/CommandLine/Analyze.h"
#include "Control/CommandLine/CommandLine.h"
#include "ProgramRun.h"
#include "SoundFiles.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <sstream>

namespace vello {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class Analyze : public testing::Test {
protected:
    struct Result {
        int exitCode;
        std::string out, error;
    };

    Result analyze(const std::filesystem::path& file) {
        std::ostringstream out;
        std::ostringstream error;
        const int exitCode = runAnalyze({.input = file}, out, error);
        return {exitCode, out.str(), error.str()};
    }

    std::string analysisOf(const test::Sound& sound) {
        test::writeSound(folder_ / "in.wav", sound);
        const Result result = analyze(folder_ / "in.wav");
        EXPECT_EQ(result.exitCode, kExitDone);
        EXPECT_THAT(result.error, IsEmpty());
        return result.out;
    }

    void expectFailure(const std::filesystem::path& file, const std::string& reason) {
        const Result result = analyze(file);
        EXPECT_EQ(result.exitCode, kExitFailed);
        EXPECT_THAT(result.out, IsEmpty());
        EXPECT_THAT(result.error, StartsWith("vello: cannot read '"));
        EXPECT_THAT(result.error, HasSubstr(reason));
        EXPECT_EQ(std::ranges::count(result.error, '\n'), 1);
    }

    TemporaryFolder folder_;
};

TEST_F(Analyze, SaysNothingOfWhatIsTooShort) {
    EXPECT_EQ(analysisOf({44100, 1, {}}), R"({"sampleRate":44100,"channels":1,"spectrum":null,"tempo":null})"
                                          "\n");
}

TEST_F(Analyze, ShowsSilenceAsEightZeros) {
    EXPECT_EQ(analysisOf({48000, 2, std::vector<float>(2 * 2048)}),
              R"({"sampleRate":48000,"channels":2,"spectrum":[0,0,0,0,0,0,0,0],"tempo":null})"
              "\n");
}

TEST_F(Analyze, ShowsATempoWithItsConfidence) {
    std::vector<float> samples(6 * 8000);
    for (std::size_t beat = 840; beat < samples.size(); beat += 4000)
        samples[beat] = 0.9F;
    EXPECT_THAT(analysisOf({8000, 1, samples}),
                HasSubstr(R"("tempo":{"beatsPerMinute":120,"confidence":1}})"));
}

TEST_F(Analyze, ListensToTheEndOfAFileThatIsLongerThanTheRing) {
    std::vector<float> samples(1500000, 0.5F);
    std::fill(samples.end() - 2 * 2048, samples.end(), 0.0F);
    EXPECT_THAT(analysisOf({192000, 2, samples}), HasSubstr("[0,0,0,0,0,0,0,0]"));
}

TEST_F(Analyze, StaysReadableForSamplesThatAreNoNumbers) {
    EXPECT_THAT(analysisOf({48000, 1, std::vector<float>(3 * 48000, std::nanf(""))}),
                HasSubstr(R"("spectrum":[0,0,0,0,0,0,0,0],"tempo":null)"));
}

TEST_F(Analyze, RefusesInputThatItCannotRead) {
    expectFailure(folder_ / "nothing.wav", "there is no such file");
    expectFailure(folder_.path(), "not a file");
    writeTestFile(folder_ / "text.wav", "this is not a sound");
    expectFailure(folder_ / "text.wav", "not a sound file");
    test::writeSound(folder_ / "many.wav", {48000, 3, std::vector<float>(300)});
    expectFailure(folder_ / "many.wav", "3 channels; mix it down to 1 or 2");
    test::writeSound(folder_ / "short.wav", {48000, 2, std::vector<float>(20000)});
    std::filesystem::resize_file(folder_ / "short.wav", 30000);
    expectFailure(folder_ / "short.wav", "cut short");
}

TEST_F(Analyze, FailsWhenItsResultGoesNowhere) {
    test::writeSound(folder_ / "in.wav", {48000, 1, {}});
    std::ofstream full("/dev/full");
    std::ostringstream error;
    EXPECT_EQ(runAnalyze({folder_ / "in.wav"}, full, error), kExitFailed);
    EXPECT_THAT(error.str(), HasSubstr("cannot write to standard output"));
}

TEST_F(Analyze, ExitsAsTheCommandLinePromises) {
    const auto exitCode = [](const std::vector<std::string>& arguments) {
        return test::runProgram(VELLO_EXECUTABLE, arguments).exitCode;
    };
    test::writeSound(folder_ / "in.wav", {48000, 1, std::vector<float>(100)});
    EXPECT_EQ(exitCode({"analyze", (folder_ / "in.wav").string()}), 0);
    EXPECT_EQ(exitCode({"analyze", (folder_ / "nothing.wav").string()}), 1);
    EXPECT_EQ(exitCode({"analyze"}), 2);
}

} // namespace
} // namespace vello
