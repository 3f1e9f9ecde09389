// Version: the library's version, and which version texts it satisfies.
#include <cstdint>
#include <cstring>

#include "OmbrixHalTTestSeams.h"
#include "OmbrixHalVersion.h"

namespace ombrixhal::seam {
// Kept in the library file so that its version and build date can be read off it.
[[gnu::used]] extern const char kVersionBanner[] = "Ombrix Hal Version 1.30.04 " __DATE__;
[[gnu::used]] const char* const versionBanner = kVersionBanner;
}  // namespace ombrixhal::seam

namespace {

constexpr const char* kLibraryVersion = "1.30.04";
constexpr const char* kOldestCompatibleVersion = "1.30";
constexpr const char* kLibraryVariant = "";

constexpr const char* kFormatErrorMessage = "OmbrixHal: Version format error '%'";
constexpr const char* kConflictMessage = "OmbrixHal: Version conflict (required %, current %)";
constexpr const char* kVariantMessage = "OmbrixHal: Variants do not match (required %, current %)";

constexpr size_t kMaxVariantLength = 10;

struct Version {
  uint32_t number[4] = {};  // major, minor, build, and a fourth that is always 0
  char variant[kMaxVariantLength + 1] = {};
};

bool isDigit(char character) {
  return character >= '0' && character <= '9';
}

bool isLetter(char character) {
  return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z');
}

// One to three numbers separated by ".", optionally "-" and up to ten letters, nothing else.
bool parseVersion(const char* text, Version& version) {
  if (text == nullptr) {
    return false;
  }
  const char* next = text;
  for (int part = 0; part < 3; ++part) {
    if (!isDigit(*next)) {
      return false;
    }
    uint64_t value = 0;
    while (isDigit(*next)) {
      value = value * 10 + static_cast<uint64_t>(*next++ - '0');
      if (value > UINT32_MAX) {
        return false;
      }
    }
    version.number[part] = static_cast<uint32_t>(value);
    if (*next != '.') {
      break;
    }
    if (part < 2) {
      ++next;
    }
  }
  if (*next == '-') {
    ++next;
    size_t length = 0;
    while (length < kMaxVariantLength && isLetter(*next)) {
      version.variant[length++] = *next++;
    }
  }
  return *next == '\0';
}

int compareVersions(const Version& left, const Version& right) {
  for (size_t part = 0; part < 4; ++part) {
    if (left.number[part] != right.number[part]) {
      return left.number[part] < right.number[part] ? -1 : 1;
    }
  }
  return 0;
}

bool isWithinCompatibleRange(const Version& version) {
  Version oldest;
  Version current;
  parseVersion(kOldestCompatibleVersion, oldest);
  parseVersion(kLibraryVersion, current);
  return compareVersions(oldest, version) <= 0 && compareVersions(version, current) <= 0;
}

// Copies aText with each "%" replaced by the next argument; the buffer is always terminated.
void writeMessage(char* buffer, uint32_t size, const char* text, const char* first, const char* second = nullptr) {
  const char* arguments[] = {first, second};
  size_t argumentIndex = 0;
  uint32_t length = 0;
  auto put = [&](char character) {
    if (length + 1 < size) {
      buffer[length++] = character;
    }
  };
  for (const char* next = text; *next != '\0'; ++next) {
    if (*next != '%') {
      put(*next);
      continue;
    }
    const char* argument = argumentIndex < 2 ? arguments[argumentIndex++] : nullptr;
    for (; argument != nullptr && *argument != '\0'; ++argument) {
      put(*argument);
    }
  }
  buffer[length] = '\0';
}

}  // namespace

const char* OmbrixHalVersionGetVersion(void) noexcept {
  return kLibraryVersion;
}

OmbrixHalBool OmbrixHalVersionCheckHeaderVersion(const char* aHeaderVersion) noexcept {
  Version version;
  return parseVersion(aHeaderVersion, version) && isWithinCompatibleRange(version) ? 1 : 0;
}

OmbrixHalBool OmbrixHalVersionCheckVersion(const char* aRequired, char* aMessage, uint32_t aMessageSize) noexcept {
  if (aRequired == nullptr || aMessage == nullptr || aMessageSize == 0) {
    return 0;
  }
  aMessage[0] = '\0';
  Version required;
  if (!parseVersion(aRequired, required)) {
    writeMessage(aMessage, aMessageSize, kFormatErrorMessage, aRequired);
    return 0;
  }
  if (!isWithinCompatibleRange(required)) {
    writeMessage(aMessage, aMessageSize, kConflictMessage, aRequired, kLibraryVersion);
    return 0;
  }
  for (const char* letter = required.variant; *letter != '\0'; ++letter) {
    if (std::strchr(kLibraryVariant, *letter) == nullptr) {
      writeMessage(aMessage, aMessageSize, kVariantMessage, aRequired, kLibraryVersion);
      return 0;
    }
  }
  return 1;
}
