// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

namespace vello::quirks {

/// The configuration file that gives a client's data loop realtime priority. Up to 0.3.7x it is a separate
/// file, later it is part of every client's configuration. Reproduce: without it, `ps -eLo cls,comm` shows
/// the data loop as TS on Debian 12.
const char* clientConfigurationName();

/// While the session manager relinks a stream, the stream leaves the running state and returns up to 15 ms
/// later, or seconds later when dozens are relinked together. If we reported that, an application would
/// vanish from the list and lose its tap each time its tap is made, and dozens of applications would never
/// settle. So a stream counts as running for `kRunningFlicker` after it left that state; for
/// `kLongestRelinking` while it has no link, or has had its links for less than `kRelinkingSettles`.
/// Reproduce: `pw-mon` while `pw-metadata ID target.object NAME` moves a playing stream.
inline constexpr std::chrono::milliseconds kRunningFlicker{100};
inline constexpr std::chrono::seconds kRelinkingSettles{5};
inline constexpr std::chrono::seconds kLongestRelinking{15};

/// A stream becomes audible some cycles after the session manager has linked it. If nodes are destroyed in
/// that time, the graph is recalculated and the same delay starts again; the quantum that the nodes requested
/// also rises and falls. So nodes stay for `kSettleTime` after their streams were moved. Reproduce:
/// `headless_test --gtest_filter='VelloDies*'` without it, on 1.4.
inline constexpr std::chrono::milliseconds kSettleTime{60};

/// While the server sends the metadata to a new client, which needs the session manager's answer, it does not
/// report metadata changes to other clients. We lose these changes, the session manager does not. So the
/// metadata is read again this long after a client has connected, and after a stream was linked to a place
/// that no known target explains. Reproduce (0.3.65): `pw-metadata -m` misses one change in fifteen while
/// another shell runs `pw-metadata` over and over.
inline constexpr std::chrono::milliseconds kMetadataDoubt{100};

/// The PulseAudio server answers an application's request for a stream only when the stream is linked to a
/// device, and our captures are not devices to it. An application whose stream is directed to a capture
/// before that waits for the answer forever, silent. The answer is visible as the stream's property
/// `kAnsweredByPulseServer`; for a server that does not set it, a stream that has run for
/// `kLongestPulseAnswer` counts as answered. Reproduce: without the wait,
/// `headless_test --gtest_filter='VelloNextSoundOfKind.*/pulseAudio'`, on 0.3.65 and 1.4.
inline constexpr const char* kAnsweredByPulseServer = "pulse.attr.tlength";
inline constexpr std::chrono::seconds kLongestPulseAnswer{3};

/// Servers from 1.0 on give a stream one buffer unless it requests more; a triggered stream then misses every
/// second cycle. With two buffers, the cycle after a missed one has no free buffer and is lost as well. Four
/// buffers tolerate three missed cycles in a row, which occur in a graph without realtime priority whenever
/// its quantum is short. Reproduce: `VELLO_REPETITIONS=200 headless_test
/// --gtest_filter='VelloQuantum.Changes*'` with two, on 1.4.
inline constexpr int kStreamBuffers = 4;

/// A client in Flatpak's sandbox may redirect streams only if it says that it is a manager, before the
/// session manager decides on its rights. Reproduce: `doctor_test --gtest_filter='*Sandbox*'` without it.
inline constexpr const char* kMediaCategory = "Manager";

} // namespace vello::quirks
