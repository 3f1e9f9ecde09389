// What the decoders make of the transport stream they are sent: packets per PID, PES starts and
// their time stamps, the picture format, and the messages these give to the open callback.
#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <optional>

#include "voMTPEmulatorState.h"

namespace vomtpemulator {
namespace {

constexpr uint8_t kSyncByte = 0x47;
constexpr uint32_t kPidMask = 0x1fff;
constexpr uint32_t kVideoPidShift = 13;
constexpr uint32_t kDefaultWidth = 720;
constexpr uint32_t kDefaultHeight = 576;
constexpr uint32_t kPtsTicksPerMs = 90;

bool startsWithStartCode(const uint8_t* aBytes) { return aBytes[0] == 0 && aBytes[1] == 0 && aBytes[2] == 1; }

// The PTS of a PES packet's header, when it has the optional header with one.
std::optional<uint64_t> ptsOf(const uint8_t* aPes, size_t aSize) {
  if (aSize < 14 || (aPes[6] & 0xc0) != 0x80 || (aPes[7] & 0x80) == 0 || aPes[8] < 5) {
    return std::nullopt;
  }
  const uint8_t* pts = aPes + 9;
  return uint64_t(pts[0] >> 1 & 0x07) << 30 | uint64_t(pts[1]) << 22 | uint64_t(pts[2] >> 1) << 15 |
         uint64_t(pts[3]) << 7 | uint64_t(pts[4] >> 1);
}

// Message 101 for the first video PES: its size from a sequence header that follows in the same
// packet, the usual place, else the broadcast default; always interlaced.
Message videoFormat(const uint8_t* aPes, size_t aSize) {
  Message message{VOMTP_MESSAGE_VIDEO_FORMAT, {}};
  message.payload[1] = kDefaultWidth;
  message.payload[2] = kDefaultHeight;
  message.payload[4] = 1;
  for (size_t at = 4; at + 7 <= aSize; ++at) {
    if (startsWithStartCode(aPes + at) && aPes[at + 3] == 0xb3) {
      message.payload[1] = uint32_t{aPes[at + 4]} << 4 | aPes[at + 5] >> 4;
      message.payload[2] = uint32_t{aPes[at + 5] & 0x0fu} << 8 | aPes[at + 6];
      break;
    }
  }
  return message;
}

void takePacket(Emulator& aEmulator, Decoder& aDecoder, const uint8_t* aPacket, uint32_t aStreamId,
                std::vector<Message>& aMessages) {
  const uint32_t pid = (uint32_t{aPacket[1]} << 8 | aPacket[2]) & kPidMask;
  PidRecord& record = aEmulator.pids[pid];
  ++record.packets;
  const bool unitStart = (aPacket[1] & 0x40) != 0;
  const bool hasPayload = (aPacket[3] & 0x10) != 0;
  const size_t payloadAt = (aPacket[3] & 0x20) != 0 ? size_t{5} + aPacket[4] : 4;
  if (!unitStart || !hasPayload || payloadAt + 3 > kPacketSize || !startsWithStartCode(aPacket + payloadAt)) {
    return;
  }
  ++record.pesStarts;
  const uint8_t* pes = aPacket + payloadAt;
  const size_t pesSize = kPacketSize - payloadAt;
  const bool video = pid == (aStreamId >> kVideoPidShift & kPidMask);
  if (video && !aDecoder.formatSent) {
    aDecoder.formatSent = true;
    aMessages.push_back(videoFormat(pes, pesSize));
  }
  const std::optional<uint64_t> pts = ptsOf(pes, pesSize);
  if (!pts) {
    return;
  }
  ++record.timestamps;
  record.lastPts = *pts;
  if (record.pts.size() < kMaxKept) {
    record.pts.push_back(*pts);
  }
  if (aDecoder.running && (video || pid == (aStreamId & kPidMask))) {
    aMessages.push_back({VOMTP_MESSAGE_TIME_STAMP, {uint32_t(*pts / kPtsTicksPerMs)}});
  }
}

}  // namespace

void receive(Emulator& aEmulator, Decoder& aDecoder, const uint8_t* aData, uint32_t aLength, uint32_t aStreamId,
             std::vector<Message>& aMessages) {
  std::vector<uint8_t>& partial = aDecoder.partialPacket;
  uint32_t at = 0;
  if (!partial.empty()) {
    at = std::min<uint32_t>(kPacketSize - uint32_t(partial.size()), aLength);
    partial.insert(partial.end(), aData, aData + at);
    if (partial.size() < kPacketSize) {
      return;
    }
    takePacket(aEmulator, aDecoder, partial.data(), aStreamId, aMessages);
    partial.clear();
  }
  while (at < aLength) {
    if (aData[at] != kSyncByte) {
      ++at;  // lost sync: a packet starts at the next sync byte
    } else if (aLength - at < kPacketSize) {
      partial.assign(aData + at, aData + aLength);
      break;
    } else {
      takePacket(aEmulator, aDecoder, aData + at, aStreamId, aMessages);
      at += kPacketSize;
    }
  }
}

std::string report(const Emulator& aEmulator) {
  std::string text;
  char line[160];
  std::snprintf(line, sizeof line,
                "voMTPSDK emulator: decoders opened %" PRIu32 ", bytes received %" PRIu64 ", callback answers %" PRIu32
                "\n",
                aEmulator.nextNumber - 1, aEmulator.bytesReceived, aEmulator.answerTotal);
  text += line;
  for (const auto& [pid, record] : aEmulator.pids) {
    std::snprintf(line, sizeof line, "PID 0x%04" PRIx32 ": packets %" PRIu32 ", PES starts %" PRIu32, pid,
                  record.packets, record.pesStarts);
    text += line;
    if (record.timestamps > 0) {
      std::snprintf(line, sizeof line, ", timestamps %" PRIu32 ", first PTS %" PRIu64 ", last PTS %" PRIu64,
                    record.timestamps, record.pts.front(), record.lastPts);
      text += line;
    }
    text += '\n';
  }
  return text;
}

}  // namespace vomtpemulator
