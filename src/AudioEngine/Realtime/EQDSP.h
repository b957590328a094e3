// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime/Realtime.h"
#include "Ports/AudioHardware.h"

namespace vello {

/// The I/O callback of a tap's device: `input` is what the application plays, `output` what the device gets.
/// `clientData` is the tap's TapRealtimeContext, or null to copy only. Equalizes, applies the volume,
/// measures and keeps the result. Interleaved 32-bit float. Data thread; always answers 0.
OSStatus eqByQUORVINProcessIOProc(AudioObjectID device, const AudioBufferList* input, AudioBufferList* output,
                                  void* clientData) noexcept VELLO_REALTIME;

/// Copies buffer by buffer as many bytes as both sides have.
void eqByQUORVINRawPassthrough(const AudioBufferList& input, AudioBufferList& output) noexcept VELLO_REALTIME;

} // namespace vello
