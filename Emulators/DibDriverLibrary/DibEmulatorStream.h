// A channel's transport-stream file as the emulated antenna receives it: whole packets from the
// first sync byte on, over and over, at the rate that the file's PCRs give.
#ifndef DIB_EMULATOR_STREAM_H
#define DIB_EMULATOR_STREAM_H

#include <cstdint>
#include <cstdio>
#include <string>

namespace dibemulator {

inline constexpr uint32_t kPacketSize = 188;

class ChannelStream {
 public:
  ChannelStream() = default;
  ChannelStream(const ChannelStream&) = delete;
  ChannelStream& operator=(const ChannelStream&) = delete;
  ~ChannelStream() { close(); }

  // Opens aPath, finds its first packet and measures its rate; false when it holds no whole
  // packet (empty, unreadable or not a transport stream).
  bool open(const std::string& aPath);
  void close();
  // Reads aCount packets into aPackets, from the start again after the last whole one.
  // Returns how many it read: fewer only when the file stopped holding packets.
  uint32_t read(uint8_t* aPackets, uint32_t aCount);
  double bytesPerSecond() const { return bytesPerSecond_; }

 private:
  std::FILE* file_ = nullptr;
  long firstPacket_ = 0;
  double bytesPerSecond_ = 0;
};

// The stream's rate in bytes per second from the PCRs of the first PID that carries them, found
// in aFile from its current position on, packet-aligned; aFallback without two distinct PCRs.
double measureRate(std::FILE* aFile, double aFallback);

}  // namespace dibemulator

#endif
