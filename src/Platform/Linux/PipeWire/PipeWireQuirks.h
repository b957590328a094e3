// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

namespace vello::quirks {

/// The configuration file that gives a client's data loop realtime priority. Up to 0.3.7x that is a file of
/// its own, later every client has it. Reproduce: without it, `ps -eLo cls,comm` shows the data loop as TS on
/// Debian 12.
const char* clientConfigurationName();

/// A stream that the session manager links anew leaves the running state and comes back, up to 15 ms later,
/// or seconds later when dozens are linked anew together. Reported as it comes, an application would vanish
/// from the list and lose its tap each time that its tap is made, and all of them would never come to rest.
/// So a stream counts as running for `runningFlicker` after it left that state; for `longestRelinking` while
/// it has no link, or has had its links for less than `relinkingSettles`. Reproduce: `pw-mon` while
/// `pw-metadata ID target.object NAME` moves a playing stream.
inline constexpr std::chrono::milliseconds runningFlicker{100};
inline constexpr std::chrono::seconds relinkingSettles{5};
inline constexpr std::chrono::seconds longestRelinking{15};

/// A stream is heard some cycles after the session manager has linked it. When nodes go meanwhile, the graph
/// is put in order anew and that takes as long again; and the quantum, which they asked for, rises and falls.
/// So nodes stay for so long after their streams were moved. Reproduce: `headless_test
/// --gtest_filter='VelloDies*'` without it, on 1.4.
inline constexpr std::chrono::milliseconds settleTime{60};

/// While a client that has just come is told the metadata, which takes the session manager's answer, the
/// server tells nobody else of changes: they are lost to us, though not to the session manager. So the
/// metadata is read anew this long after a client came, and after a stream was linked to where no target
/// known to us sends it. Reproduce (0.3.65): `pw-metadata -m` misses one change in fifteen while another
/// shell runs `pw-metadata` over and over.
inline constexpr std::chrono::milliseconds metadataDoubt{100};

/// Servers from 1.0 on give a stream one buffer unless it asks for more; then a triggered stream misses every
/// second cycle. With two, the cycle after one that was missed has no buffer left to write to and is lost as
/// well; four bear three missed cycles in a row, of which a graph without realtime priority has some whenever
/// its quantum is short. Reproduce: `VELLO_REPETITIONS=200 headless_test
/// --gtest_filter='VelloQuantum.changes*'` with two, on 1.4.
inline constexpr int streamBuffers = 4;

} // namespace vello::quirks
