// The emulator's state: the decoders, what they received, the control settings and the recorded
// calls. One mutex guards all of it; it is never held across a decoder's open callback.
#ifndef VO_MTP_EMULATOR_STATE_H
#define VO_MTP_EMULATOR_STATE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "EmulatorCallCounts.h"
#include "EmulatorFailures.h"
#include "voMTPEmulatorControl.h"

namespace vomtpemulator {

inline constexpr int32_t kFailure = -1;
inline constexpr uint32_t kPacketSize = 188;
// Data may come a packet at a time: the lists keep their first entries, the counts go on.
inline constexpr size_t kMaxKept = 65536;

// A message for a decoder's open callback; the library's payload is 8 words.
struct Message {
  int32_t type;
  std::array<uint32_t, 8> payload;
};

struct Decoder {
  uint32_t number = 0;
  voMTPOpenCallback callback = nullptr;
  bool open = true;
  bool running = false;
  bool formatSent = false;
  std::vector<uint8_t> partialPacket;  // the start of a packet that the end of a chunk cut
};

struct PidRecord {
  uint32_t packets = 0;
  uint32_t pesStarts = 0;
  uint32_t timestamps = 0;
  std::vector<uint64_t> pts;
  uint64_t lastPts = 0;
};

struct Emulator {
  std::mutex mutex;
  // By handle value. Handles count on across resets and are never reused, so a stale handle
  // never names a newer decoder.
  std::map<uintptr_t, Decoder> decoders;
  uintptr_t nextHandle = 0x10;
  uint32_t nextNumber = 1;

  emulatorcommon::ProgrammedFailures failures;
  std::vector<voMTPEmulatorCall> calls;
  uint32_t callTotal = 0;
  emulatorcommon::CallCounts callCounts;

  std::map<uint32_t, PidRecord> pids;
  std::vector<voMTPEmulatorAnswer> answers;
  uint32_t answerTotal = 0;
  uint64_t bytesReceived = 0;
  uint32_t volume = 0;
};

// The one emulator of the process; never destroyed, so that a call during exit finds it.
Emulator& emulator();

// Takes a chunk of transport stream for aDecoder: completes the packet the last chunk cut,
// resynchronises on the sync byte, keeps what is left of a packet, and adds the messages due to
// aMessages. aStreamId names the decoder's audio (bits 0 to 12) and video (bits 13 to 25) PIDs.
void receive(Emulator& aEmulator, Decoder& aDecoder, const uint8_t* aData, uint32_t aLength, uint32_t aStreamId,
             std::vector<Message>& aMessages);
// The text that voMTPUnInit leaves for users: per PID what arrived, and the answers.
std::string report(const Emulator& aEmulator);

}  // namespace vomtpemulator

#endif
