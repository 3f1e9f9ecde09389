// The stream side of a decoder: the bounded input queue, the transport stream demultiplexer, the
// presentation clock and the placement of a picture in the draw rectangle.
#include <algorithm>
#include <cstring>

#include "voMTPPlayer.h"

namespace vomtpplayer {

namespace {
constexpr size_t kPacketSize = 188;
constexpr uint8_t kSyncByte = 0x47;

// The PTS of a whole PES packet, or kNoTime; aPayloadStart is set past the header.
int64_t pesHeader(const std::vector<uint8_t>& aPes, size_t& aPayloadStart) {
  aPayloadStart = aPes.size();
  if (aPes.size() < 9 || aPes[0] != 0 || aPes[1] != 0 || aPes[2] != 1) {
    return kNoTime;
  }
  const size_t headerEnd = 9 + size_t(aPes[8]);
  if (headerEnd > aPes.size()) {
    return kNoTime;
  }
  aPayloadStart = headerEnd;
  if ((aPes[7] & 0x80) == 0 || headerEnd < 14) {
    return kNoTime;
  }
  const uint8_t* p = aPes.data() + 9;
  return (int64_t(p[0] & 0x0E) << 29) | (int64_t(p[1]) << 22) | (int64_t(p[2] & 0xFE) << 14) | (int64_t(p[3]) << 7) |
         (int64_t(p[4]) >> 1);
}
}  // namespace

bool InputQueue::push(const uint8_t* aData, size_t aLength) {
  std::lock_guard lock(mMutex);
  if (mClosed || mAborted) {
    return true;
  }
  // A chunk that could never fit is dropped alone, not after everything queued before it.
  if (aLength > mLimit) {
    mDropped += aLength;
    return false;
  }
  bool kept = true;
  while (!mChunks.empty() && mBytes + aLength > mLimit) {
    mBytes -= mChunks.front().size();
    mDropped += mChunks.front().size();
    mChunks.pop_front();
    kept = false;
  }
  mChunks.emplace_back(aData, aData + aLength);
  mBytes += aLength;
  mChanged.notify_one();
  return kept;
}

bool InputQueue::pop(std::vector<uint8_t>& aChunk) {
  std::unique_lock lock(mMutex);
  mChanged.wait(lock, [&] { return mAborted || mClosed || !mChunks.empty(); });
  if (mAborted || mChunks.empty()) {
    return false;
  }
  aChunk = std::move(mChunks.front());
  mChunks.pop_front();
  mBytes -= aChunk.size();
  return true;
}

void InputQueue::close() {
  std::lock_guard lock(mMutex);
  mClosed = true;
  mChanged.notify_all();
}

void InputQueue::abort() {
  std::lock_guard lock(mMutex);
  mAborted = true;
  mChanged.notify_all();
}

Demultiplexer::Demultiplexer(uint32_t aAudioPid, uint32_t aVideoPid, Sink aSink)
    : mStreams{{aAudioPid, false, {}}, {aVideoPid, true, {}}}, mSink(std::move(aSink)) {}

void Demultiplexer::feed(const uint8_t* aData, size_t aLength) {
  // Complete the packet that the last chunk cut.
  if (!mPartial.empty()) {
    const size_t take = std::min(kPacketSize - mPartial.size(), aLength);
    mPartial.insert(mPartial.end(), aData, aData + take);
    aData += take;
    aLength -= take;
    if (mPartial.size() < kPacketSize) {
      return;
    }
    packet(mPartial.data());
    mPartial.clear();
  }
  while (aLength > 0) {
    if (aData[0] != kSyncByte) {
      const uint8_t* sync = static_cast<const uint8_t*>(std::memchr(aData, kSyncByte, aLength));
      const size_t skip = sync ? size_t(sync - aData) : aLength;
      aData += skip;
      aLength -= skip;
      continue;
    }
    if (aLength < kPacketSize) {
      mPartial.assign(aData, aData + aLength);
      return;
    }
    packet(aData);
    aData += kPacketSize;
    aLength -= kPacketSize;
  }
}

void Demultiplexer::packet(const uint8_t* aPacket) {
  const uint32_t pid = (uint32_t(aPacket[1] & 0x1F) << 8) | aPacket[2];
  const bool errored = (aPacket[1] & 0x80) != 0;
  const bool scrambled = (aPacket[3] & 0xC0) != 0;
  for (Gathering& stream : mStreams) {
    if (stream.pid == 0 || stream.pid != pid || errored || scrambled) {
      continue;
    }
    const bool unitStart = (aPacket[1] & 0x40) != 0;
    const uint8_t control = (aPacket[3] >> 4) & 3;
    const int counter = aPacket[3] & 0x0F;
    if ((control & 1) == 0) {
      return;  // adaptation field only: no payload, and the counter does not advance
    }
    size_t offset = 4;
    if (control == 3) {
      offset += 1 + size_t(aPacket[4]);
      if (offset >= kPacketSize) {
        return;
      }
    }
    if (counter == stream.lastCounter && !stream.bytes.empty()) {
      return;  // a repeated packet
    }
    const bool lost = counter != ((stream.lastCounter + 1) & 0x0F);
    if (lost) {
      // Hand on no fragment: a PES that lost a packet, its end included, is skipped.
      stream.bytes.clear();
    }
    if (unitStart) {
      emit(stream);
    } else if (stream.bytes.empty()) {
      stream.lastCounter = counter;  // not at a PES's start: wait for the next one
      return;
    }
    stream.lastCounter = counter;
    stream.bytes.insert(stream.bytes.end(), aPacket + offset, aPacket + kPacketSize);
    // A bounded PES is complete as soon as its length has arrived.
    if (stream.bytes.size() >= 6) {
      const size_t length = (size_t(stream.bytes[4]) << 8) | stream.bytes[5];
      if (length != 0 && stream.bytes.size() >= 6 + length) {
        stream.bytes.resize(6 + length);
        emit(stream);
      }
    }
    return;
  }
}

void Demultiplexer::emit(Gathering& aStream) {
  if (aStream.bytes.empty()) {
    return;
  }
  Pes pes;
  size_t payload = 0;
  pes.pts = pesHeader(aStream.bytes, payload);
  if (payload < aStream.bytes.size()) {
    pes.data.assign(aStream.bytes.begin() + std::ptrdiff_t(payload), aStream.bytes.end());
    mSink(aStream.video, std::move(pes));
  }
  aStream.bytes.clear();
}

void Demultiplexer::flush() {
  for (Gathering& stream : mStreams) {
    emit(stream);
  }
}

int64_t Clock::now(int64_t aStart) {
  std::lock_guard lock(mMutex);
  const auto time = std::chrono::steady_clock::now();
  if (!mAnchored) {
    mAnchored = true;
    mAnchorStream = aStart;
    mAnchorTime = time;
  }
  return mAnchorStream + std::chrono::duration_cast<std::chrono::milliseconds>(time - mAnchorTime).count();
}

void Clock::audio(int64_t aPlayingMs) {
  std::lock_guard lock(mMutex);
  // The system clock goes on from the audio clock, for when the audio stops or is suspended.
  mAnchored = true;
  mAnchorStream = aPlayingMs;
  mAnchorTime = std::chrono::steady_clock::now();
  mAudioMs = aPlayingMs;
}

void Clock::reset() {
  std::lock_guard lock(mMutex);
  mAnchored = false;
  mAudioMs = kNoTime;
}

Rect placePicture(const Rect& aArea, double aAspect, FullScreen aFormat, double aSource[4]) {
  aSource[0] = aSource[1] = 0;
  aSource[2] = aSource[3] = 1;
  if (aArea.width <= 0 || aArea.height <= 0 || aAspect <= 0 || aFormat == FullScreen::Stretch) {
    return aArea;
  }
  const double areaAspect = double(aArea.width) / aArea.height;
  if (aFormat == FullScreen::Crop) {
    // Keep the middle of the picture, at the area's shape.
    const double keep = aAspect > areaAspect ? areaAspect / aAspect : aAspect / areaAspect;
    aSource[aAspect > areaAspect ? 2 : 3] = keep;
    aSource[aAspect > areaAspect ? 0 : 1] = (1 - keep) / 2;
    return aArea;
  }
  Rect placed = aArea;
  if (aAspect < areaAspect) {
    placed.width = int32_t(aArea.height * aAspect + 0.5);
    placed.x = aArea.x + (aArea.width - placed.width) / 2;
  } else {
    placed.height = int32_t(aArea.width / aAspect + 0.5);
    placed.y = aArea.y + (aArea.height - placed.height) / 2;
  }
  return placed;
}

}  // namespace vomtpplayer
