// Any byte string given to the tuner parameter parser and the key lookup yields 0 or a
// record, never a read past its terminator, and no log line. Input: the line, then
// optionally a newline and a key to look up besides the fixed ones.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

#include "OmbrixHal.h"

namespace {

// Every key a parser asks for, the type key ":" and the empty key.
constexpr const char* kKeys[] = {
    ":",       "freq",      "symbolrate", "bandwidth", "coderate", "mod",         "trans",         "guard", "loflow",
    "lofhigh", "lofswitch", "pol",        "pos",       "opt",      "repetitions", "fieldInterval", "name",  "",
};

size_t linesLogged = 0;

void countLine(void*, const char*, uint32_t, uint32_t, const char* aText) {
  if (std::strlen(aText) > OMBRIX_HAL_LOGGER_TEXT_LENGTH) {
    __builtin_trap();
  }
  ++linesLogged;
}

// An exact-size copy up to the first NUL, so that any read past the terminator lands in
// AddressSanitizer's red zone.
std::unique_ptr<char[]> terminatedCopy(const char* bytes, size_t size) {
  const void* nul = std::memchr(bytes, '\0', size);
  const size_t length = nul != nullptr ? static_cast<size_t>(static_cast<const char*>(nul) - bytes) : size;
  auto copy = std::make_unique<char[]>(length + 1);
  std::memcpy(copy.get(), bytes, length);
  copy[length] = '\0';
  return copy;
}

void lookUp(const char* line, const char* key) {
  // Exactly OMBRIX_HAL_TUNER_PARAM_VALUE_SIZE bytes: a longer write is caught as well.
  auto value = std::make_unique<char[]>(OMBRIX_HAL_TUNER_PARAM_VALUE_SIZE);
  const OmbrixHalBool found = OmbrixHalTunerParamParserGetParamValue(line, key, value.get());
  if (std::memchr(value.get(), '\0', OMBRIX_HAL_TUNER_PARAM_VALUE_SIZE) == nullptr || (!found && value[0] != '\0') ||
      OmbrixHalTunerParamParserGetParamValue(line, key, nullptr) != found) {
    __builtin_trap();
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  OmbrixHalLoggerSetLogHandler(countLine, nullptr);
  for (uint32_t classId : {OMBRIX_HAL_LOGGER_ID_ERROR, OMBRIX_HAL_LOGGER_ID_WARNING, OMBRIX_HAL_LOGGER_ID_INFO}) {
    OmbrixHalLoggerEnableLog(classId, 1, "LLVMFuzzerInitialize");
  }
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const auto* bytes = reinterpret_cast<const char*>(data);
  const auto* newline = static_cast<const char*>(std::memchr(bytes, '\n', size));
  const size_t lineSize = newline != nullptr ? static_cast<size_t>(newline - bytes) : size;
  const std::unique_ptr<char[]> line = terminatedCopy(bytes, lineSize);

  linesLogged = 0;
  OmbrixHalTunerParameter record;
  std::memset(&record, 0xa5, sizeof record);
  const OmbrixHalBool parsed = OmbrixHalTunerParamParser(line.get(), &record);
  for (const char* key : kKeys) {
    lookUp(line.get(), key);
  }
  if (newline != nullptr) {
    lookUp(line.get(), terminatedCopy(newline + 1, size - lineSize - 1).get());
  }
  if (linesLogged != 0) {
    __builtin_trap();
  }

  if (parsed) {
    const bool isFile =
        record.Type == OMBRIX_HAL_TUNER_TYPE_ANALOG_FILE || record.Type == OMBRIX_HAL_TUNER_TYPE_DIGITAL_FILE;
    if (isFile && record.AnalogFile.Name[OMBRIX_HAL_TUNER_FILE_NAME_SIZE - 1] != '\0') {
      __builtin_trap();
    }
    // Whatever the parser stored must validate and print without fault.
    OmbrixHalTunerParameterIsValid(&record, "LLVMFuzzerTestOneInput");
    OmbrixHalTunerParameterPrintLogging(&record, OMBRIX_HAL_LOGGER_ID_INFO, "LLVMFuzzerTestOneInput");
  }
  return 0;
}
