// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/Bus/Client.h"
#include "Control/Bus/RunningInstance.h"

#include <string>

/// The commands of runClient() by topic. They throw like RunningInstance, and std::runtime_error for words
/// that are unknown.
namespace vello {

/// Throws std::runtime_error with the reason when it cannot be written.
void print(const ClientOutput& output, const std::string& printed);
/// Throws std::runtime_error that names the error with this number; 0: unknown.
[[noreturn]] void failToPrint(int problem);

void showStatus(RunningInstance& instance, const ClientRequest& request, const ClientOutput& output);
/// Returns only by throwing, at the latest when the instance ends.
void watchStatus(RunningInstance& instance, const ClientRequest& request, const ClientOutput& output);
void listOutputs(const RunningInstance& instance, const ClientRequest& request, const ClientOutput& output);
void listPresets(const RunningInstance& instance, const ClientRequest& request, const ClientOutput& output);

// The changes are on disk when these return.

void changeSource(const RunningInstance& instance, const ClientRequest& request, const ClientOutput& output);
/// Calls a method whose only argument is the id of the source.
void callForSource(const RunningInstance& instance, const ClientRequest& request, const char* method);
void followSystem(const RunningInstance& instance, const ClientRequest& request);
void savePreset(const RunningInstance& instance, const ClientRequest& request);
void deletePreset(const RunningInstance& instance, const ClientRequest& request);
void renamePreset(const RunningInstance& instance, const ClientRequest& request);

/// Prints what a shell may offer. Without a running instance it is what does not depend on one.
void completeWords(const ClientRequest& request, const ClientOutput& output);

} // namespace vello
