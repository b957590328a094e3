// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime/Realtime.h"
#include "Ports/AudioHardware.h"

namespace vello {

/// The I/O callback of a tap's device. `input` is the audio of the application, `output` goes to the device,
/// both interleaved 32-bit float. `clientData` is the tap's TapRealtimeContext, or null to copy only.
/// Equalizes, applies the volume, measures the level and stores the result in the ring buffer. Data thread;
/// always returns 0.
OSStatus eqByQUORVINProcessIOProc(AudioObjectID device, const AudioBufferList* input, AudioBufferList* output,
                                  void* clientData) noexcept VELLO_REALTIME;

/// Copies each input buffer to the output buffer with the same index, up to the smaller size.
void eqByQUORVINRawPassthrough(const AudioBufferList& input, AudioBufferList& output) noexcept VELLO_REALTIME;

} // namespace vello
