// The player library's calls and the emulator's control calls. Every library call is recorded
// with the decoder it was made on and may be programmed to fail; all of them run under the
// emulator's one mutex, and the open callback runs outside it.
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <optional>

#include "voMTPEmulatorState.h"

namespace vomtpemulator {
namespace {

constexpr const char* kReportVariable = "VOMTP_EMULATOR_REPORT";

void record(Emulator& aEmulator, const char* aFunction, uint32_t aDecoder, std::initializer_list<int64_t> aArguments,
            int32_t aResult) {
  aEmulator.callCounts.count(aFunction);
  ++aEmulator.callTotal;
  if (aEmulator.calls.size() >= kMaxKept) {
    return;
  }
  voMTPEmulatorCall call{};
  std::memcpy(call.Function, aFunction, std::min(std::strlen(aFunction), sizeof call.Function - 1));
  call.Decoder = aDecoder;
  std::copy_n(aArguments.begin(), std::min(aArguments.size(), std::size(call.Arguments)), call.Arguments);
  call.Result = aResult;
  aEmulator.calls.push_back(call);
}

Decoder* findDecoder(Emulator& aEmulator, voMTPHandle aDecoder) {
  const auto decoder = aEmulator.decoders.find(reinterpret_cast<uintptr_t>(aDecoder));
  return decoder != aEmulator.decoders.end() ? &decoder->second : nullptr;
}

// Runs a library call: a programmed failure instead of aBody when one is due, then the record.
// aBody gets the decoder that aDecoder names (NULL when none) and the decoder number to record,
// and runs with the lock held.
template <typename Body>
int32_t libraryCall(const char* aFunction, voMTPHandle aDecoder, std::initializer_list<int64_t> aArguments,
                    Body&& aBody) noexcept {
  Emulator& e = emulator();
  const std::lock_guard lock(e.mutex);
  Decoder* decoder = findDecoder(e, aDecoder);
  uint32_t number = decoder != nullptr ? decoder->number : 0;
  const std::optional<int32_t> failure = e.failures.take(aFunction);
  const int32_t result = failure ? *failure : aBody(e, decoder, number);
  record(e, aFunction, number, aArguments, result);
  return result;
}

// A call on a decoder: fails on NULL, an unknown handle or a closed decoder.
template <typename Body>
int32_t decoderCall(const char* aFunction, voMTPHandle aDecoder, std::initializer_list<int64_t> aArguments,
                    Body&& aBody) noexcept {
  return libraryCall(aFunction, aDecoder, aArguments, [&](Emulator& e, Decoder* decoder, uint32_t&) {
    return decoder != nullptr && decoder->open ? aBody(e, *decoder) : kFailure;
  });
}

constexpr auto succeed = [](Emulator&, Decoder&) { return int32_t{0}; };

// Hands the messages to the callback on this thread, the lock released, and keeps its answers.
void sendMessages(voMTPOpenCallback aCallback, const std::vector<Message>& aMessages) {
  if (aCallback == nullptr || aMessages.empty()) {
    return;
  }
  std::vector<voMTPEmulatorAnswer> answers;
  for (const Message& message : aMessages) {
    answers.push_back({message.type, aCallback(message.type, message.payload.data())});
  }
  Emulator& e = emulator();
  const std::lock_guard lock(e.mutex);
  for (const voMTPEmulatorAnswer& answer : answers) {
    ++e.answerTotal;
    if (e.answers.size() < kMaxKept) {
      e.answers.push_back(answer);
    }
  }
}

void writeReport(const std::string& aText) {
  const char* path = std::getenv(kReportVariable);
  if (path == nullptr || *path == '\0') {
    return;
  }
  std::FILE* file = std::fopen(path, "w");
  if (file == nullptr) {
    std::fprintf(stderr, "voMTPSDK emulator: cannot write the report to %s\n", path);
    return;
  }
  std::fputs(aText.c_str(), file);
  std::fclose(file);
}

// Set from voMTPInit to voMTPUnInit: a client that never ends the library (the HAL ends it only on
// request) still leaves its report when the process exits.
std::atomic<bool> reportDue{false};

void reportAtExit() {
  if (reportDue.exchange(false)) {
    Emulator& e = emulator();
    std::unique_lock lock(e.mutex);
    const std::string text = report(e);
    lock.unlock();
    writeReport(text);
  }
}

template <typename Item>
uint32_t copyOut(const std::vector<Item>& aItems, Item* aOut, uint32_t aMax) {
  if (aOut != nullptr) {
    std::copy_n(aItems.begin(), std::min<size_t>(aMax, aItems.size()), aOut);
  }
  return uint32_t(aItems.size());
}

}  // namespace

Emulator& emulator() {
  static Emulator* const instance = new Emulator;
  return *instance;
}

}  // namespace vomtpemulator

using namespace vomtpemulator;

extern "C" {

VOMTP_API int32_t voMTPInit(uint32_t aMemorySize) {
  return libraryCall("voMTPInit", nullptr, {aMemorySize}, [](Emulator&, Decoder*, uint32_t&) {
    static const bool registered = std::atexit(reportAtExit) == 0;
    reportDue = registered;
    return 0;
  });
}

VOMTP_API int32_t voMTPUnInit(void) {
  std::optional<std::string> text;
  const int32_t result = libraryCall("voMTPUnInit", nullptr, {}, [&](Emulator& e, Decoder*, uint32_t&) {
    text = report(e);
    reportDue = false;
    return 0;
  });
  if (text) {
    writeReport(*text);
  }
  return result;
}

VOMTP_API int32_t voMTPOpen(voMTPHandle* aDecoder, uint32_t aSource, uint32_t aMode, uint32_t aFlags, void* aWindow,
                            voMTPOpenCallback aCallback) {
  const auto window = static_cast<int64_t>(reinterpret_cast<intptr_t>(aWindow));
  return libraryCall("voMTPOpen", nullptr, {aSource, aMode, aFlags, window},
                     [&](Emulator& e, Decoder*, uint32_t& number) {
                       if (aDecoder == nullptr) {
                         return kFailure;
                       }
                       const uintptr_t handle = e.nextHandle++;
                       number = e.nextNumber++;
                       Decoder& decoder = e.decoders[handle];
                       decoder.number = number;
                       decoder.callback = aCallback;
                       *aDecoder = reinterpret_cast<voMTPHandle>(handle);
                       return 0;
                     });
}

VOMTP_API int32_t voMTPInitStream(voMTPHandle aDecoder, uint32_t aBufferTime) {
  return decoderCall("voMTPInitStream", aDecoder, {aBufferTime}, succeed);
}

VOMTP_API int32_t voMTPSetDrawMode(voMTPHandle aDecoder, uint32_t aMode) {
  return decoderCall("voMTPSetDrawMode", aDecoder, {aMode}, succeed);
}

VOMTP_API int32_t voMTPSetFullScreenFormat(voMTPHandle aDecoder, uint32_t aFormat) {
  return decoderCall("voMTPSetFullScreenFormat", aDecoder, {aFormat}, succeed);
}

VOMTP_API int32_t voMTPSetParam(voMTPHandle aDecoder, uint32_t aId, uint32_t aValue) {
  return decoderCall("voMTPSetParam", aDecoder, {aId, aValue}, succeed);
}

VOMTP_API int32_t voMTPSetPreloadTime(voMTPHandle aDecoder, uint32_t aTime) {
  return decoderCall("voMTPSetPreloadTime", aDecoder, {aTime}, succeed);
}

VOMTP_API int32_t voMTPSetDrawRect(voMTPHandle aDecoder, int32_t aX, int32_t aY, int32_t aWidth, int32_t aHeight) {
  return decoderCall("voMTPSetDrawRect", aDecoder, {aX, aY, aWidth, aHeight}, succeed);
}

VOMTP_API int32_t voMTPRun(voMTPHandle aDecoder) {
  return decoderCall("voMTPRun", aDecoder, {}, [](Emulator&, Decoder& decoder) {
    decoder.running = true;
    return 0;
  });
}

VOMTP_API int32_t voMTPPause(voMTPHandle aDecoder) {
  return decoderCall("voMTPPause", aDecoder, {}, [](Emulator&, Decoder& decoder) {
    decoder.running = false;
    return 0;
  });
}

VOMTP_API int32_t voMTPSuspendAudio(voMTPHandle aDecoder) {
  return decoderCall("voMTPSuspendAudio", aDecoder, {}, succeed);
}

VOMTP_API int32_t voMTPResumeAudio(voMTPHandle aDecoder) {
  return decoderCall("voMTPResumeAudio", aDecoder, {}, succeed);
}

VOMTP_API int32_t voMTPSuspendVideo(voMTPHandle aDecoder) {
  return decoderCall("voMTPSuspendVideo", aDecoder, {}, succeed);
}

VOMTP_API int32_t voMTPResumeVideo(voMTPHandle aDecoder) {
  return decoderCall("voMTPResumeVideo", aDecoder, {}, succeed);
}

VOMTP_API int32_t voMTPStop(voMTPHandle aDecoder) {
  return decoderCall("voMTPStop", aDecoder, {}, [](Emulator&, Decoder& decoder) {
    decoder.running = false;
    return 0;
  });
}

// The decoder's record stays, closed, so that later calls on it are recorded with its number.
VOMTP_API int32_t voMTPClose(voMTPHandle aDecoder) {
  return decoderCall("voMTPClose", aDecoder, {}, [](Emulator&, Decoder& decoder) {
    decoder.open = false;
    decoder.running = false;
    decoder.partialPacket = {};
    return 0;
  });
}

VOMTP_API int32_t voMTPSendData(voMTPHandle aDecoder, const uint8_t* aData, uint32_t aLength, uint32_t aStreamId,
                                uint32_t aFlags) {
  voMTPOpenCallback callback = nullptr;
  std::vector<Message> messages;
  const int32_t result =
      decoderCall("voMTPSendData", aDecoder, {aLength, aStreamId, aFlags}, [&](Emulator& e, Decoder& decoder) {
        if (aData == nullptr && aLength > 0) {
          return kFailure;
        }
        e.bytesReceived += aLength;
        receive(e, decoder, aData, aLength, aStreamId, messages);
        callback = decoder.callback;
        return 0;
      });
  sendMessages(callback, messages);
  return result;
}

VOMTP_API int32_t voMTPSetVolume(voMTPHandle aDecoder, uint32_t aVolume) {
  return decoderCall("voMTPSetVolume", aDecoder, {aVolume}, [&](Emulator& e, Decoder&) {
    e.volume = aVolume;
    return 0;
  });
}

VOMTP_API int32_t voMTPGetVolume(voMTPHandle aDecoder, uint32_t* aVolume, uint32_t* aSecond) {
  return decoderCall("voMTPGetVolume", aDecoder, {}, [&](Emulator& e, Decoder&) {
    if (aVolume == nullptr || aSecond == nullptr) {
      return kFailure;
    }
    *aVolume = e.volume;
    *aSecond = 0;
    return 0;
  });
}

VOMTP_API void voMTPEmulatorReset(void) {
  Emulator& e = emulator();
  const std::lock_guard lock(e.mutex);
  e.decoders.clear();
  e.nextNumber = 1;
  e.failures.clear();
  e.calls.clear();
  e.callTotal = 0;
  e.callCounts.clear();
  e.pids.clear();
  e.answers.clear();
  e.answerTotal = 0;
  e.bytesReceived = 0;
  e.volume = 0;
}

VOMTP_API void voMTPEmulatorFailCall(const char* aFunction, uint32_t aNth, int32_t aResult) {
  if (aFunction == nullptr) {
    return;
  }
  Emulator& e = emulator();
  const std::lock_guard lock(e.mutex);
  e.failures.program(aFunction, aNth, aResult);
}

VOMTP_API uint32_t voMTPEmulatorGetCalls(voMTPEmulatorCall* aCalls, uint32_t aMax) {
  Emulator& e = emulator();
  const std::lock_guard lock(e.mutex);
  copyOut(e.calls, aCalls, aMax);
  return e.callTotal;
}

VOMTP_API uint32_t voMTPEmulatorCountCalls(const char* aFunction) {
  Emulator& e = emulator();
  const std::lock_guard lock(e.mutex);
  return e.callCounts.of(aFunction);
}

VOMTP_API uint32_t voMTPEmulatorGetPids(voMTPEmulatorPid* aPids, uint32_t aMax) {
  Emulator& e = emulator();
  const std::lock_guard lock(e.mutex);
  std::vector<voMTPEmulatorPid> pids;
  for (const auto& [pid, record] : e.pids) {
    pids.push_back({pid, record.packets, record.pesStarts, record.timestamps});
  }
  return copyOut(pids, aPids, aMax);
}

VOMTP_API uint32_t voMTPEmulatorGetTimestamps(uint32_t aPid, uint64_t* aPts, uint32_t aMax) {
  Emulator& e = emulator();
  const std::lock_guard lock(e.mutex);
  const auto record = e.pids.find(aPid);
  if (record == e.pids.end()) {
    return 0;
  }
  copyOut(record->second.pts, aPts, aMax);
  return record->second.timestamps;
}

VOMTP_API uint32_t voMTPEmulatorGetAnswers(voMTPEmulatorAnswer* aAnswers, uint32_t aMax) {
  Emulator& e = emulator();
  const std::lock_guard lock(e.mutex);
  copyOut(e.answers, aAnswers, aMax);
  return e.answerTotal;
}

VOMTP_API uint64_t voMTPEmulatorBytesReceived(void) {
  Emulator& e = emulator();
  const std::lock_guard lock(e.mutex);
  return e.bytesReceived;
}

}  // extern "C"
