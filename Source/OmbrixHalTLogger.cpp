// Logger: per-id enable bits, the id text table and the bounded formatter. Takes no lock:
// the handler and the bits are single words read and written atomically.
#include <atomic>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <iterator>

#include "OmbrixHalLogger.h"
#include "OmbrixHalTModule.h"

namespace {

struct LogText {
  uint32_t id;
  const char* text;
};

// The format of every id, in table-index order. An empty text would mark an id as unsupported.
constexpr LogText kLogTexts[] = {
    {0x1000, "All errors"},
    {0x1001, "Out of memory"},
    {0x1002, "Illegal value for parameter '%s'"},
    {0x1003, "Illegal value 'NULL' for parameter '%s'"},
    {0x1004, "Illegal log id '0x%x'"},
    {0x1005, "Unsupported log id '0x%x'"},
    {0x1006, "Unknown tuner type in string '%s'"},
    {0x1007, "Cannot open tuner: '%s'"},
    {0x1008, "Tuner type and parameter type do not match"},
    {0x1009, "Illegal tuner parameter string '%s'"},
    {0x100a, "Cannot set tuner parameter"},
    {0x100b, "Cannot return tuner parameter"},
    {0x100c, "DVB-S tune (1): freq=%d symb=%d code=%d "},
    {0x100d, "DVB-S tune (2): lofLow=%d lofHigh=%d lofSwitch=%d"},
    {0x100e, "DVB-S tune (3): modSys=%d mod=%d pol=%d pos=%d opt=%d"},
    {0x100f, "Cannot get tuner type"},
    {0x1010, "Cannot open filter of type '%d'"},
    {0x1011, "Filter type and parameter type do not match"},
    {0x1012, "Cannot set filter parameter"},
    {0x1013, "FilterParam: pid=0x%x crcCheck=%d filterLen=%d"},
    {0x1014, "Cannot open file: missing file prefix for '%s'"},
    {0x1015, "Cannot open file: file system not found for '%s'"},
    {0x1016, "Cannot open file in mode '%s': '%s'"},
    {0x1017, "AV cannot open player"},
    {0x1018, "AV set parameter failed: aPid=%d aType=%d vPid=%d vType=%d pcrPid=%d"},
    {0x1019, "Illegal PID '%s': '0x%x'"},
    {0x101a, "AV play failed"},
    {0x101b, "OmbrixHalInit() has not been called, yet!"},
    {0x101c, "AV: %s"},
    {0x101d, "AudioOut: %s"},
    {0x101e, "CI: %s"},
    {0x101f, "File: %s"},
    {0x1020, "Filter: %s"},
    {0x1021, "Tuner: %s"},
    {0x1022, "VideoOut: %s"},
    {0x2000, "All warnings"},
    {0x2001, "Function not supported: '%s'"},
    {0x2002, "AV stream is not decoded."},
    {0x2003, "AV: %s"},
    {0x2004, "AudioOut: %s"},
    {0x2005, "CI: %s"},
    {0x2006, "File: %s"},
    {0x2007, "Filter: %s"},
    {0x2008, "Tuner: %s"},
    {0x2009, "VideoOut: %s"},
    {0x3000, "All infos"},
    {0x3001, "No more packets available"},
    {0x3002, "Opened tuner successfully"},
    {0x3003, "Tuner parameter successfully set"},
    {0x3004, "Tuner parameter successfully returned"},
    {0x3005, "Tuner: UNLOCKED -> LOCKED"},
    {0x3006, "Tuner: LOCKED -> UNLOCKED"},
    {0x3007, "Signal strength is '%d%%'"},
    {0x3008, "Signal quality is '%d%%'"},
    {0x3009, "DVB-S tune (1): freq=%d symb=%d code=%d "},
    {0x300a, "DVB-S tune (2): lofLow=%d lofHigh=%d lofSwitch=%d"},
    {0x300b, "DVB-S tune (3): modSys=%d mod=%d pol=%d pos=%d opt=%d"},
    {0x300c, "Opened filter of type '%d' successfully"},
    {0x300d, "Filter parameter successfully set"},
    {0x300e, "FilterParam: pid=0x%x crcCheck=%d filterLen=%d"},
    {0x300f, "Filter closed"},
    {0x3010, "Filter started"},
    {0x3011, "Filter stopped"},
    {0x3012, "File opened in mode '%s': '%s'"},
    {0x3013, "File closed"},
    {0x3014, "File read: requested='%d' actually read='%d'"},
    {0x3015, "File write: requested='%d' actually written='%d'"},
    {0x3016, "Clock set UTC time to '%s'"},
    {0x3017, "Clock set local time to '%s'"},
    {0x3018, "Clock set new LTO: %d minutes"},
    {0x3019, "Clock set daylight time option '%s'"},
    {0x301a, "Clock: hardware clock overrun occured"},
    {0x301b, "AV opened player successfully"},
    {0x301c, "AV closed player"},
    {0x301d, "AV set parameter succeeded: aPid=%d aType=%d vPid=%d vType=%d pcrPid=%d"},
    {0x301e, "AV play called"},
    {0x301f, "AV stopped"},
    {0x3020, "AV decoded successfully"},
    {0x3021, "AV: %s"},
    {0x3022, "AudioOut: %s"},
    {0x3023, "CI: %s"},
    {0x3024, "File: %s"},
    {0x3025, "Filter: %s"},
    {0x3026, "Tuner: %s"},
    {0x3027, "VideoOut: %s"},
};

struct LogClass {
  uint32_t baseId;
  uint32_t count;
  uint32_t firstIndex;
  uint32_t severity;
};

constexpr LogClass kLogClasses[] = {
    {ombrixhal::kLogError, 35, 0, OMBRIX_HAL_LOGGER_SEVERITY_ERROR},
    {ombrixhal::kLogWarning, 10, 35, OMBRIX_HAL_LOGGER_SEVERITY_WARNING},
    {ombrixhal::kLogInfo, 40, 45, OMBRIX_HAL_LOGGER_SEVERITY_INFO},
};

constexpr size_t kLogTextCount = std::size(kLogTexts);
static_assert(kLogTextCount == 85);

constexpr bool classIsContiguous(const LogClass& logClass) {
  for (uint32_t offset = 0; offset < logClass.count; ++offset) {
    if (kLogTexts[logClass.firstIndex + offset].id != logClass.baseId + offset) {
      return false;
    }
  }
  return true;
}
static_assert(classIsContiguous(kLogClasses[0]) && classIsContiguous(kLogClasses[1]) &&
              classIsContiguous(kLogClasses[2]));
static_assert(kLogClasses[2].firstIndex + kLogClasses[2].count == kLogTextCount);

// Where an id outside every class lands: the "Unsupported log id" entry, as an error.
constexpr uint32_t kUnsupportedIdIndex = 5;
constexpr uint32_t kIllegalLogId = 0x1004;
constexpr uint32_t kUnsupportedLogId = 0x1005;

std::atomic<OmbrixHalLogHandler> logHandler{nullptr};
std::atomic<void*> logHandlerContext{nullptr};
std::atomic<uint8_t> enableBits[(kLogTextCount + 7) / 8];

const LogClass* findClass(uint32_t logId) {
  for (const LogClass& logClass : kLogClasses) {
    if (logId >= logClass.baseId && logId < logClass.baseId + logClass.count) {
      return &logClass;
    }
  }
  return nullptr;
}

bool isEnabled(uint32_t index) {
  return (enableBits[index / 8].load(std::memory_order_relaxed) >> (index % 8)) & 1u;
}

void setEnabled(uint32_t index, bool enable) {
  const auto bit = static_cast<uint8_t>(1u << (index % 8));
  if (enable) {
    enableBits[index / 8].fetch_or(bit, std::memory_order_relaxed);
  } else {
    enableBits[index / 8].fetch_and(static_cast<uint8_t>(~bit), std::memory_order_relaxed);
  }
}

// The bounded text a handler receives: once it reaches its length it ends in "...".
class LogText256 {
 public:
  bool full() const { return length_ == OMBRIX_HAL_LOGGER_TEXT_LENGTH; }

  void put(char character) {
    if (!full()) {
      text_[length_++] = character;
    }
  }

  void put(const char* text) {
    while (*text != '\0' && !full()) {
      put(*text++);
    }
  }

  void putUnsigned(uint32_t value) {
    char digits[10];
    size_t count = 0;
    do {
      digits[count++] = static_cast<char>('0' + value % 10);
      value /= 10;
    } while (value != 0);
    while (count > 0) {
      put(digits[--count]);
    }
  }

  void putSigned(int32_t value) {
    if (value < 0) {
      put('-');
      putUnsigned(0u - static_cast<uint32_t>(value));
    } else {
      putUnsigned(static_cast<uint32_t>(value));
    }
  }

  void putHex(uint32_t value, int digitCount) {
    constexpr char kHexDigits[] = "0123456789abcdef";
    for (int shift = (digitCount - 1) * 4; shift >= 0; shift -= 4) {
      put(kHexDigits[(value >> shift) & 0xfu]);
    }
  }

  const char* finish() {
    if (full()) {
      text_[length_ - 3] = '.';
      text_[length_ - 2] = '.';
      text_[length_ - 1] = '.';
    }
    text_[length_] = '\0';
    return text_;
  }

 private:
  char text_[OMBRIX_HAL_LOGGER_TEXT_LENGTH + 1];
  size_t length_ = 0;
};

bool isLetter(char character) {
  return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

// Integer arguments are 32 bits wide on every target, whatever "l" says.
void format(LogText256& text, const char* format, va_list arguments) {
  const char* next = format;
  while (*next != '\0' && !text.full()) {
    if (*next != '%') {
      text.put(*next++);
      continue;
    }
    ++next;
    const bool isLong = *next == 'l';
    if (isLong) {
      ++next;
    }
    const char conversion = *next;
    if (conversion == '\0') {
      break;
    }
    ++next;
    switch (conversion) {
      case 's': {
        const char* string = va_arg(arguments, const char*);
        text.put(string != nullptr ? string : "NULL");
        break;
      }
      case 'w': {
        const uint16_t* wide = va_arg(arguments, const uint16_t*);
        if (wide == nullptr) {
          text.put("NULL");
        } else {
          for (; *wide != 0 && !text.full(); ++wide) {
            text.put(static_cast<char>(*wide & 0xffu));
          }
        }
        break;
      }
      case 'c':
        text.put(static_cast<char>(va_arg(arguments, int)));
        break;
      case 'd':
        text.putSigned(va_arg(arguments, int32_t));
        break;
      case 'u':
        text.putUnsigned(va_arg(arguments, uint32_t));
        break;
      case 'x':
        text.putHex(va_arg(arguments, uint32_t), isLong ? 8 : 4);
        break;
      case '%':
        text.put('%');
        break;
      case 'a': {
        // "%a" must name its byte format with a letter; otherwise it is an unknown conversion.
        if (!isLetter(*next)) {
          break;
        }
        const bool inHex = *next++ == 'x';
        const auto* bytes = va_arg(arguments, const uint8_t*);
        const uint32_t byteCount = va_arg(arguments, uint32_t);
        if (bytes == nullptr && byteCount != 0) {
          text.put("NULL");  // as "%s" prints it, rather than reading through it
          break;
        }
        for (uint32_t index = 0; index < byteCount && !text.full(); ++index) {
          if (index > 0) {
            text.put(' ');
          }
          if (inHex) {
            text.putHex(bytes[index], 2);
          } else {
            text.putUnsigned(bytes[index]);
          }
        }
        break;
      }
      default:
        break;  // unknown conversions print nothing and take no argument
    }
  }
}

// Shared by Print and Printf: aFormat NULL means the table text of the id.
void formatAndDeliver(const char* aFunctionName, uint32_t aLogId, const char* aFormat, va_list arguments) {
  const OmbrixHalLogHandler handler = logHandler.load(std::memory_order_relaxed);
  if (handler == nullptr) {
    return;
  }
  const LogClass* logClass = findClass(aLogId);
  const uint32_t index = logClass != nullptr ? logClass->firstIndex + (aLogId - logClass->baseId)
                                             : kUnsupportedIdIndex;
  const uint32_t severity = logClass != nullptr ? logClass->severity : OMBRIX_HAL_LOGGER_SEVERITY_ERROR;
  if (!isEnabled(index)) {
    return;
  }
  LogText256 text;
  format(text, aFormat != nullptr ? aFormat : kLogTexts[index].text, arguments);
  handler(logHandlerContext.load(std::memory_order_relaxed), aFunctionName != nullptr ? aFunctionName : "",
          aLogId, severity, text.finish());
}

}  // namespace

void OmbrixHalLoggerSetLogHandler(OmbrixHalLogHandler aHandler, void* aContext) noexcept {
  logHandlerContext.store(aContext, std::memory_order_relaxed);
  logHandler.store(aHandler, std::memory_order_relaxed);
}

void OmbrixHalLoggerPrintf(const char* aFunctionName, uint32_t aLogId, const char* aFormat, ...) noexcept {
  va_list arguments;
  va_start(arguments, aFormat);
  formatAndDeliver(aFunctionName, aLogId, aFormat != nullptr ? aFormat : "", arguments);
  va_end(arguments);
}

void OmbrixHalLoggerPrint(const char* aFunctionName, uint32_t aLogId, ...) noexcept {
  va_list arguments;
  va_start(arguments, aLogId);
  formatAndDeliver(aFunctionName, aLogId, nullptr, arguments);
  va_end(arguments);
}

OmbrixHalBool OmbrixHalLoggerEnableLog(uint32_t aLogId, OmbrixHalBool aEnable, const char* aFunctionName) noexcept {
  const LogClass* logClass = findClass(aLogId);
  if (logClass == nullptr) {
    OmbrixHalLoggerPrint(aFunctionName, kIllegalLogId, aLogId);
    return 0;
  }
  const bool wholeClass = aLogId == logClass->baseId;
  const uint32_t first = wholeClass ? logClass->firstIndex : logClass->firstIndex + (aLogId - logClass->baseId);
  const uint32_t end = wholeClass ? logClass->firstIndex + logClass->count : first + 1;
  uint32_t changed = 0;
  for (uint32_t index = first; index < end; ++index) {
    if (kLogTexts[index].text[0] != '\0') {
      setEnabled(index, aEnable != 0);
      ++changed;
    }
  }
  if (!wholeClass && changed == 0) {
    OmbrixHalLoggerPrint(aFunctionName, kUnsupportedLogId, aLogId);
    return 0;
  }
  return 1;
}
