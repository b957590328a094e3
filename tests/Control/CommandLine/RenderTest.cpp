// SPDX-License-Identifier: Apache-2.0
#include "Control/CommandLine/Render.h"
#include "Control/CommandLine/CommandLine.h"
#include "ProgramRun.h"
#include "SoundFiles.h"
#include "support/CaseCount.h"
#include "support/SignalSupport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vello {
namespace {

namespace fs = std::filesystem;
using test::Sound;
using testing::HasSubstr;
using testing::IsEmpty;

std::vector<UserEQPreset> noPresets() {
    return {};
}

class Render : public testing::Test {
protected:
    Render() {
        std::string pattern = (fs::temp_directory_path() / "vello-render-XXXXXX").string();
        folder_ = mkdtemp(pattern.data());
    }
    ~Render() override { fs::remove_all(folder_); }

    fs::path path(const char* name) const { return folder_ / name; }

    void write(const fs::path& file, const Sound& sound) { test::writeSound(file, sound); }

    Sound read(const fs::path& file) {
        SF_INFO info{};
        SNDFILE* handle = sf_open(file.c_str(), SFM_READ, &info);
        EXPECT_NE(handle, nullptr) << file;
        if (handle == nullptr)
            return {};
        Sound sound{info.samplerate, info.channels, {}, info.format};
        sound.samples.resize(static_cast<std::size_t>(info.frames * info.channels));
        EXPECT_EQ(sf_readf_float(handle, sound.samples.data(), info.frames), info.frames);
        sf_close(handle);
        return sound;
    }

    RenderOptions options() const {
        RenderOptions options;
        options.input = path("in.wav");
        options.output = path("out.wav");
        return options;
    }

    void expectSuccess(const RenderOptions& options) {
        std::ostringstream error;
        EXPECT_EQ(runRender(options, noPresets, error), 0);
        EXPECT_THAT(error.str(), IsEmpty());
    }

    /// Expects a failure with one line that contains `reason`, and an unchanged folder.
    void expectFailure(const RenderOptions& options, const std::string& reason) {
        const auto before = listing();
        std::ostringstream error;
        EXPECT_EQ(runRender(options, noPresets, error), 1);
        EXPECT_THAT(error.str(), HasSubstr(reason));
        EXPECT_THAT(error.str(), testing::StartsWith("vello: cannot "));
        EXPECT_EQ(std::ranges::count(error.str(), '\n'), 1);
        EXPECT_EQ(listing(), before);
    }

    std::vector<std::string> listing() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder_))
            names.push_back(entry.path().filename());
        std::ranges::sort(names);
        return names;
    }

    fs::path folder_;
};

std::string bytesOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// Runs the program itself; returns its exit code.
int runProgram(const std::vector<std::string>& arguments) {
    return test::runProgram(VELLO_EXECUTABLE, arguments).exitCode;
}

std::string joined(const std::vector<double>& gains) {
    std::ostringstream text;
    text.precision(17);
    for (std::size_t i = 0; i < gains.size(); ++i)
        text << (i > 0 ? "," : "") << gains[i];
    return text.str();
}

TEST_F(Render, KeepsLengthRateAndChannelsAndWritesFloats) {
    for (const int channels : {1, 2})
        for (const int rate : {8000, 44100, 192000})
            for (const std::size_t frames : {0U, 1U, 479U, 480U, 1001U}) {
                const auto samples = test::noise(frames * static_cast<std::size_t>(channels), 1);
                write(path("in.wav"), {rate, channels, samples});
                expectSuccess(options());
                const Sound output = read(path("out.wav"));
                EXPECT_EQ(output.sampleRate, rate);
                EXPECT_EQ(output.channels, channels);
                EXPECT_EQ(output.format, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
                EXPECT_EQ(output.samples, samples) << "neutral settings change nothing";
            }
}

TEST_F(Render, RampsFromTheInitialVolumeInTheFirstBuffer) {
    write(path("in.wav"), {48000, 1, std::vector<float>(20, 1.0F)});
    RenderOptions chosen = options();
    chosen.settings.volume = 0.5;
    chosen.initialVolume = 1.0;
    chosen.bufferFrames = 10;
    expectSuccess(chosen);
    const auto samples = read(path("out.wav")).samples;
    const float step = (0.5F - 1.0F) / 10.0F;
    for (std::size_t i = 0; i < 20; ++i)
        EXPECT_EQ(samples[i], i < 10 ? 1.0F + static_cast<float>(i) * step : 0.5F);
}

TEST_F(Render, BeginsAtTheVolumeWithoutAnInitialOne) {
    write(path("in.wav"), {48000, 1, std::vector<float>(20, 1.0F)});
    RenderOptions chosen = options();
    chosen.settings.volume = 0.25;
    expectSuccess(chosen);
    EXPECT_EQ(read(path("out.wav")).samples, std::vector<float>(20, 0.25F));
}

TEST_F(Render, LeavesTheVolumeInForceWhenBypassed) {
    const auto samples = test::noise(1000, 2);
    write(path("in.wav"), {48000, 2, samples});
    RenderOptions chosen = options();
    chosen.settings = test::settingsWithGains({12, 12, 12, 12, 12, 12, 12, 12});
    chosen.settings.isBypassed = true;
    chosen.settings.volume = 0.5;
    expectSuccess(chosen);
    const auto rendered = read(path("out.wav")).samples;
    for (std::size_t i = 0; i < samples.size(); ++i)
        ASSERT_EQ(rendered[i], samples[i] * 0.5F);
}

TEST_F(Render, GivesTheSameFileForTheSameInputWhateverTheBuffer) {
    write(path("in.wav"), {44100, 2, test::noise(2 * 5000, 3)});
    RenderOptions chosen = options();
    chosen.settings = test::settingsWithGains({-6, -2, 1, 3, 4, 3, 2, 0});
    expectSuccess(chosen);
    const std::string first = bytesOf(path("out.wav"));
    for (const std::size_t frames : {1U, 7U, 64U, 1024U, 8192U}) {
        chosen.bufferFrames = frames;
        expectSuccess(chosen);
        EXPECT_TRUE(bytesOf(path("out.wav")) == first) << frames;
    }
}

TEST_F(Render, ReadsIntegerAndCompressedFiles) {
    const std::vector<float> samples{0.5F, -0.5F, 0.25F, 0.0F};
    for (const int format : {SF_FORMAT_WAV | SF_FORMAT_PCM_16, SF_FORMAT_WAV | SF_FORMAT_PCM_24,
                             SF_FORMAT_FLAC | SF_FORMAT_PCM_16, SF_FORMAT_AIFF | SF_FORMAT_PCM_24}) {
        write(path("in.wav"), {48000, 2, samples, format});
        expectSuccess(options());
        const auto rendered = read(path("out.wav")).samples;
        ASSERT_EQ(rendered.size(), samples.size());
        for (std::size_t i = 0; i < samples.size(); ++i)
            EXPECT_NEAR(rendered[i], samples[i], 1.0 / 32768);
    }
}

TEST_F(Render, SilencesABufferWithANaNAndGoesOn) {
    std::vector<float> samples(960, 0.5F);
    samples[100] = std::nanf("");
    write(path("in.wav"), {48000, 1, samples});
    expectSuccess(options());
    const auto rendered = read(path("out.wav")).samples;
    EXPECT_EQ(std::vector(rendered.begin(), rendered.begin() + 480), std::vector<float>(480, 0.0F));
    EXPECT_EQ(std::vector(rendered.begin() + 480, rendered.end()), std::vector<float>(480, 0.5F));
}

TEST_F(Render, RefusesInputThatItCannotRead) {
    expectFailure(options(), "there is no such file");
    std::ofstream(path("in.wav")) << "this is not a sound";
    expectFailure(options(), "not a sound file");
    std::ofstream(path("in.wav"), std::ios::trunc).close();
    expectFailure(options(), "not a sound file");
    RenderOptions chosen = options();
    chosen.input = folder_;
    expectFailure(chosen, "not a file");
    write(path("in.wav"), {48000, 3, std::vector<float>(300)});
    expectFailure(options(), "3 channels");
}

TEST_F(Render, RefusesFilesThatAreCutShort) {
    write(path("in.wav"), {48000, 2, test::noise(20000, 4)});
    fs::resize_file(path("in.wav"), fs::file_size(path("in.wav")) / 2);
    expectFailure(options(), "cut short");
    fs::resize_file(path("in.wav"), 30);
    expectFailure(options(), "cannot read");
    write(path("in.wav"), {48000, 2, test::noise(20000, 4), SF_FORMAT_FLAC | SF_FORMAT_PCM_16});
    fs::resize_file(path("in.wav"), fs::file_size(path("in.wav")) / 2);
    expectFailure(options(), "cut short");
}

TEST_F(Render, RefusesOutputThatItCannotWrite) {
    write(path("in.wav"), {48000, 2, test::noise(200, 5)});
    RenderOptions chosen = options();
    chosen.output = path("nowhere") / "out.wav";
    expectFailure(chosen, "No such file or directory");
    chosen.output = folder_;
    expectFailure(chosen, "Is a directory");
    chosen.output = "/dev/null";
    expectFailure(chosen, "not supported");
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST_F(Render, RefusesToOverwriteItsInputByAnyName) {
    write(path("in.wav"), {48000, 2, test::noise(200, 6)});
    const std::string before = bytesOf(path("in.wav"));
    RenderOptions chosen = options();
    chosen.output = path("in.wav");
    expectFailure(chosen, "it is the input");
    fs::create_symlink(path("in.wav"), path("link.wav"));
    chosen.output = path("link.wav");
    expectFailure(chosen, "it is the input");
    fs::create_hard_link(path("in.wav"), path("hard.wav"));
    chosen.output = path("hard.wav");
    expectFailure(chosen, "it is the input");
    EXPECT_EQ(bytesOf(path("in.wav")), before);
}

TEST_F(Render, LeavesTheOldOutputWhenTheNewOneDoesNotFit) {
    write(path("in.wav"), {48000, 2, test::noise(200000, 7)});
    std::ofstream(path("out.wav")) << "old";
    rlimit old{};
    getrlimit(RLIMIT_FSIZE, &old);
    const rlimit small{100000, old.rlim_max};
    std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &small);
    std::ostringstream error;
    const int code = runRender(options(), noPresets, error);
    setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, SIG_DFL);
    EXPECT_EQ(code, 1);
    EXPECT_THAT(error.str(), HasSubstr("cannot write"));
    EXPECT_EQ(bytesOf(path("out.wav")), "old");
    EXPECT_THAT(listing(), testing::ElementsAre("in.wav", "out.wav"));
}

TEST_F(Render, ReplacesWhatALinkPointsToAndKeepsItsPermissions) {
    write(path("in.wav"), {48000, 2, test::noise(200, 8)});
    std::ofstream(path("real.wav")) << "old";
    fs::permissions(path("real.wav"), fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
    fs::create_symlink("real.wav", path("out.wav"));
    expectSuccess(options());
    EXPECT_TRUE(fs::is_symlink(path("out.wav")));
    EXPECT_EQ(read(path("real.wav")).samples.size(), 200U);
    EXPECT_EQ(fs::status(path("real.wav")).permissions(),
              fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
}

TEST_F(Render, KeepsAFileNameFromTheTerminal) {
    RenderOptions chosen = options();
    chosen.input = path("evil\n\x1b[2J.wav");
    std::ostringstream error;
    EXPECT_EQ(runRender(chosen, noPresets, error), 1);
    EXPECT_EQ(std::ranges::count(error.str(), '\n'), 1);
    EXPECT_THAT(error.str(), testing::Not(HasSubstr("\x1b")));
}

/// Estimates the mean error before rounding to 32-bit floats. An error of d changes the rounded float with
/// probability d / ulp, so the mean of ulp over the changed samples estimates the mean of |d|.
double meanDifferenceBeforeRounding(const std::vector<float>& samples,
                                    const std::vector<long double>& expected) {
    double sum = 0;
    for (std::size_t i = 0; i < samples.size(); ++i)
        sum += std::abs(double{samples[i]} - double{static_cast<float>(expected[i])});
    return sum / static_cast<double>(samples.size());
}

TEST_F(Render, TheProgramDiffersFromATextbookByNothingButTheRoundingOfItsOutput) {
    constexpr std::size_t frames = 4000;
    constexpr std::size_t buffers[] = {1, 7, 64, 480, 1024};
    std::mt19937 random(8);
    std::vector<std::vector<double>> curves;
    for (const EQPreset preset : EQPreset::allCases())
        curves.emplace_back(preset.bandGains().begin(), preset.bandGains().end());
    while (curves.size() < (test::isSanitized ? 16U : 106U))
        curves.push_back(test::randomGains(random));

    double worst = 0;
    std::size_t run = 0;
    for (const int rate : {44100, 48000, 96000, 192000}) {
        const auto samples = test::noise(2 * frames, static_cast<std::uint32_t>(rate));
        write(path("in.wav"), {rate, 2, samples});
        for (const auto& curve : curves) {
            ASSERT_EQ(runProgram({"render", "--gains", joined(curve), "--buffer",
                                  std::to_string(buffers[run++ % std::size(buffers)]), path("in.wav"),
                                  path("out.wav")}),
                      0);
            test::TextbookCascade textbook[] = {{curve, double(rate)}, {curve, double(rate)}};
            std::vector<long double> expected;
            for (std::size_t i = 0; i < samples.size(); ++i)
                expected.push_back(textbook[i % 2].process(static_cast<long double>(samples[i])));
            worst = std::max(worst, meanDifferenceBeforeRounding(read(path("out.wav")).samples, expected));
        }
    }
    std::cout << "worst mean difference before rounding: " << 20 * std::log10(worst) << " dBFS in " << run
              << " runs\n";
    EXPECT_LT(worst, 1e-10) << "-200 dBFS; the demand is -140";
}

TEST_F(Render, TheProgramTellsItsUsersByExitCode) {
    write(path("in.wav"), {48000, 2, test::noise(200, 9)});
    EXPECT_EQ(runProgram({"--version"}), 0);
    EXPECT_EQ(runProgram({"render", path("in.wav"), path("out.wav")}), 0);
    EXPECT_EQ(runProgram({"render", path("missing.wav"), path("out.wav")}), 1);
    EXPECT_EQ(runProgram({}), 1);
    EXPECT_EQ(runProgram({"render", path("in.wav")}), 2);
}

// Presets

TEST_F(Render, TakesABuiltInOrSavedPresetByItsIDOrName) {
    write(path("in.wav"), {.samples = std::vector<float>(2048, 0.25F)});
    const auto saved = [] {
        return std::vector<UserEQPreset>{{"Mine", std::vector<double>(8, 6.0)},
                                         {"vocal", std::vector<double>(8, -6.0)}};
    };
    const auto rendered = [&](const std::string& preset, std::string& note) {
        RenderOptions chosen = options();
        chosen.preset = preset;
        std::ostringstream error;
        EXPECT_EQ(runRender(chosen, saved, error), 0) << error.str();
        note = error.str();
        return read(path("out.wav")).samples;
    };
    std::string note;
    const auto vocal = rendered("Vocal", note);
    EXPECT_THAT(note, IsEmpty());
    EXPECT_EQ(rendered("vocal", note), vocal);
    EXPECT_THAT(note, HasSubstr("\"vocal\" is taken for the built-in preset vocal"));
    EXPECT_NE(rendered("Mine", note), vocal);
    EXPECT_NE(rendered("Mine", note), rendered("flat", note));
}

TEST_F(Render, SaysWhichPresetWasProbablyMeant) {
    write(path("in.wav"), {.samples = std::vector<float>(16)});
    RenderOptions chosen = options();
    chosen.preset = "vocla";
    std::ostringstream error;
    EXPECT_EQ(runRender(chosen, noPresets, error), 1);
    EXPECT_THAT(error.str(), HasSubstr("there is no preset \"vocla\"; did you mean \"vocal\"?"));
    EXPECT_FALSE(fs::exists(path("out.wav")));
}

TEST_F(Render, ReadsSavedPresetsFromTheSettingsFile) {
    write(path("in.wav"), {.samples = std::vector<float>(2048, 0.25F)});
    const auto render = [&](const std::string& preset, const char* output) {
        const std::string line = "XDG_DATA_HOME=" + folder_.string() + " " + VELLO_EXECUTABLE +
                                 " render --preset '" + preset + "' " + path("in.wav").string() + " " +
                                 path(output).string();
        return test::runProgram("/bin/sh", {"-c", line});
    };
    EXPECT_THAT(render("Mine", "out.wav").error, HasSubstr("no preset \"Mine\""));
    fs::create_directory(path("EQ by QUORVIN"));
    std::ofstream(path("EQ by QUORVIN") / "settings.json")
        << R"({"version":1,"sources":{},"userPresets":[{"name":7},{"name":"Mine","bandGains":[6,5,3.5,1.5,0,0,0,0]}]})";
    EXPECT_EQ(render("Mine", "out.wav").exitCode, 0);
    EXPECT_EQ(render("bassBoost", "built-in.wav").exitCode, 0);
    EXPECT_EQ(read(path("out.wav")).samples, read(path("built-in.wav")).samples);
    std::ofstream(path("EQ by QUORVIN") / "settings.json") << "{]";
    EXPECT_THAT(render("Mine", "out.wav").error, HasSubstr("no preset \"Mine\""));
    EXPECT_EQ(render("vocal", "out.wav").exitCode, 0);
    EXPECT_FALSE(fs::exists(path("EQ by QUORVIN") / "settings.json.corrupt")) << "the file is VELLO's alone";
}

// Standard input and output

TEST_F(Render, ReadsStandardInputAndWritesStandardOutput) {
    write(path("in.wav"), {.samples = std::vector<float>(5000, 0.25F)});
    const std::string program = VELLO_EXECUTABLE;
    const auto shell = [&](const std::string& line) { return test::runProgram("/bin/sh", {"-c", line}); };
    const std::string in = path("in.wav");
    EXPECT_EQ(shell(program + " render --volume 0.5 " + in + " " + path("out.wav").string()).exitCode, 0);
    const auto piped = shell("cat " + in + " | " + program + " render --volume 0.5 - - | cat > " +
                             path("piped.wav").string());
    EXPECT_THAT(piped.error, IsEmpty());
    EXPECT_EQ(read(path("piped.wav")).samples, read(path("out.wav")).samples);
    EXPECT_EQ(shell("cat " + in + " | " + program + " analyze -").out, shell(program + " analyze " + in).out);
}

TEST_F(Render, SaysWhatIsWrongWithStandardInputAndOutput) {
    write(path("in.wav"), {.samples = std::vector<float>(5000, 0.25F)});
    const std::string program = VELLO_EXECUTABLE;
    const auto shell = [&](const std::string& line) { return test::runProgram("/bin/sh", {"-c", line}); };
    const auto empty = shell(program + " render - " + path("out.wav").string() + " < /dev/null");
    EXPECT_EQ(empty.exitCode, 1);
    EXPECT_THAT(empty.error, HasSubstr("cannot read '-': it is not a sound file"));
    const auto cut = shell("head -c 1000 " + path("in.wav").string() + " | " + program + " analyze -");
    EXPECT_EQ(cut.exitCode, 1);
    EXPECT_THAT(cut.error, HasSubstr("cut short"));
    const auto full = shell(program + " render " + path("in.wav").string() + " - > /dev/full");
    EXPECT_EQ(full.exitCode, 1);
    EXPECT_THAT(full.error, HasSubstr("cannot write '-': No space left on device"));
}

} // namespace
} // namespace vello
