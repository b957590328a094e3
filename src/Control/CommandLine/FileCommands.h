// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/CommandLine/Analyze.h"
#include "Control/CommandLine/Render.h"

namespace CLI {
class App;
} // namespace CLI

namespace vello {

/// The options of `render` as written by the user.
struct RenderArguments {
    std::string preset, gains, volume, initialVolume, input, output;
    bool isBypassed = false;
    std::size_t bufferFrames = RenderOptions().bufferFrames;
    OutputFormat format = OutputFormat::text;
};

/// The arguments of `analyze`.
struct AnalyzeArguments {
    std::string input;
    OutputFormat format = OutputFormat::text;
};

/// These define the commands that work on sound files and need no running instance.
CLI::App* addRender(CLI::App& application, RenderArguments& arguments);
CLI::App* addAnalyze(CLI::App& application, AnalyzeArguments& arguments);
RenderOptions renderOptions(const RenderArguments& arguments);

} // namespace vello
