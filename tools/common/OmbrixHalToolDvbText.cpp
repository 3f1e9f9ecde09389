// The character tables of DVB strings: the default table (ISO/IEC 6937 with the euro sign) and
// ISO/IEC 8859-1, UCS-2 and UTF-8 here; the other ISO/IEC 8859 parts and the East-Asian double
// byte tables through the C library's iconv, where it has one.
#include "OmbrixHalToolDvbText.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <optional>

#if __has_include(<iconv.h>)
#include <iconv.h>
#define OMBRIX_HAL_TOOL_HAS_ICONV 1
#else
#define OMBRIX_HAL_TOOL_HAS_ICONV 0
#endif

namespace {

constexpr char32_t kReplacement = 0xfffd;
constexpr uint8_t kFirstDiacritic = 0xc1;
constexpr uint8_t kLastDiacritic = 0xcf;

// ISO/IEC 6937 from 0xA0 on; 0 where the table leaves a position empty, and the non-spacing
// diacritical marks 0xC1 to 0xCF handled apart.
constexpr char32_t kIso6937Upper[96] = {
    0x00a0, 0x00a1, 0x00a2, 0x00a3, 0x20ac, 0x00a5, 0x0023, 0x00a7,  // 0xA0
    0x00a4, 0x2018, 0x201c, 0x00ab, 0x2190, 0x2191, 0x2192, 0x2193,  // 0xA8
    0x00b0, 0x00b1, 0x00b2, 0x00b3, 0x00d7, 0x00b5, 0x00b6, 0x00b7,  // 0xB0
    0x00f7, 0x2019, 0x201d, 0x00bb, 0x00bc, 0x00bd, 0x00be, 0x00bf,  // 0xB8
    0,      0,      0,      0,      0,      0,      0,      0,       // 0xC0
    0,      0,      0,      0,      0,      0,      0,      0,       // 0xC8
    0x2015, 0x00b9, 0x00ae, 0x00a9, 0x2122, 0x266a, 0x00ac, 0x00a6,  // 0xD0
    0,      0,      0,      0,      0x215b, 0x215c, 0x215d, 0x215e,  // 0xD8
    0x2126, 0x00c6, 0x0110, 0x00aa, 0x0126, 0,      0x0132, 0x013f,  // 0xE0
    0x0141, 0x00d8, 0x0152, 0x00ba, 0x00de, 0x0166, 0x014a, 0x0149,  // 0xE8
    0x0138, 0x00e6, 0x0111, 0x00f0, 0x0127, 0x0131, 0x0133, 0x0140,  // 0xF0
    0x0142, 0x00f8, 0x0153, 0x00df, 0x00fe, 0x0167, 0x014b, 0x00ad,  // 0xF8
};

// A diacritical mark of ISO/IEC 6937: the letters it combines with, the precomposed results in
// the same order, and the combining character for any other letter.
struct Diacritic {
  uint8_t code;
  const char* letters;
  const char* composed;
  char32_t combining;
};

constexpr Diacritic kDiacritics[] = {
    {0xc1, "AEIOUaeiou", "ÀÈÌÒÙàèìòù", 0x0300},
    {0xc2, "ACEILNORSUYZaceginorsuylz", "ÁĆÉÍĹŃÓŔŚÚÝŹáćéǵíńóŕśúýĺź", 0x0301},
    {0xc3, "ACEGHIJOSUWYaceghijosuwy", "ÂĈÊĜĤÎĴÔŜÛŴŶâĉêĝĥîĵôŝûŵŷ", 0x0302},
    {0xc4, "AINOUainou", "ÃĨÑÕŨãĩñõũ", 0x0303},
    {0xc5, "AEIOUaeiou", "ĀĒĪŌŪāēīōū", 0x0304},
    {0xc6, "AGUagu", "ĂĞŬăğŭ", 0x0306},
    {0xc7, "CEGIZcegz", "ĊĖĠİŻċėġż", 0x0307},
    {0xc8, "AEIOUYaeiouy", "ÄËÏÖÜŸäëïöüÿ", 0x0308},
    {0xca, "AUau", "ÅŮåů", 0x030a},
    {0xcb, "CGKLNRSTcgklnrst", "ÇĢĶĻŅŖŞŢçģķļņŗşţ", 0x0327},
    {0xcd, "OUou", "ŐŰőű", 0x030b},
    {0xce, "AEIUaeiu", "ĄĘĮŲąęįų", 0x0328},
    {0xcf, "CDELNRSTZcdelnrstz", "ČĎĚĽŇŘŠŤŽčďěľňřšťž", 0x030c},
};

void appendUtf8(std::string& text, char32_t point) {
  if (point < 0x80) {
    text += static_cast<char>(point);
  } else if (point < 0x800) {
    text += static_cast<char>(0xc0 | point >> 6);
    text += static_cast<char>(0x80 | (point & 0x3f));
  } else if (point < 0x10000) {
    text += static_cast<char>(0xe0 | point >> 12);
    text += static_cast<char>(0x80 | (point >> 6 & 0x3f));
    text += static_cast<char>(0x80 | (point & 0x3f));
  } else {
    text += static_cast<char>(0xf0 | point >> 18);
    text += static_cast<char>(0x80 | (point >> 12 & 0x3f));
    text += static_cast<char>(0x80 | (point >> 6 & 0x3f));
    text += static_cast<char>(0x80 | (point & 0x3f));
  }
}

// The code points of UTF-8 bytes; a byte that starts no valid sequence (an overlong form, a
// surrogate, a cut sequence) becomes U+FFFD and decoding goes on after it.
std::vector<char32_t> utf8Points(const uint8_t* bytes, size_t length) {
  std::vector<char32_t> points;
  for (size_t at = 0; at < length;) {
    const uint8_t lead = bytes[at];
    const size_t size = lead < 0x80 ? 1 : lead >= 0xc2 && lead < 0xe0 ? 2 : lead >= 0xe0 && lead < 0xf0 ? 3
                                                                        : lead >= 0xf0 && lead < 0xf5 ? 4 : 0;
    char32_t point = size == 1 ? lead : size == 2 ? lead & 0x1f : size == 3 ? lead & 0x0f : lead & 0x07;
    bool valid = size != 0 && at + size <= length;
    for (size_t i = 1; valid && i < size; ++i) {
      valid = (bytes[at + i] & 0xc0) == 0x80;
      point = point << 6 | (bytes[at + i] & 0x3f);
    }
    const char32_t smallest = size == 3 ? 0x800 : size == 4 ? 0x10000 : 0;
    valid = valid && point >= smallest && point <= 0x10ffff && (point < 0xd800 || point > 0xdfff);
    points.push_back(valid ? point : kReplacement);
    at += valid ? size : 1;
  }
  return points;
}

std::vector<char32_t> utf8Points(const std::string& text) {
  return utf8Points(reinterpret_cast<const uint8_t*>(text.data()), text.size());
}

// One decoded character into the text: the emphasis codes (one-byte 0x86/0x87, two-byte
// 0xE086/0xE087) go, the line break code becomes "\n", the other control codes go, and the
// C0 codes that only the selectors may use become U+FFFD.
void appendCharacter(std::string& text, char32_t point) {
  const char32_t control = point >= 0xe080 && point <= 0xe09f ? point - 0xe000 : point;
  if (control == 0x8a) {
    text += '\n';
  } else if (control >= 0x80 && control <= 0x9f) {
    return;
  } else if (point < 0x20 || point == 0x7f || (point >= 0xd800 && point <= 0xdfff)) {
    appendUtf8(text, kReplacement);
  } else {
    appendUtf8(text, point);
  }
}

const Diacritic* findDiacritic(uint8_t code) {
  for (const Diacritic& diacritic : kDiacritics) {
    if (diacritic.code == code) {
      return &diacritic;
    }
  }
  return nullptr;
}

// A diacritical mark and the letter after it: the precomposed character, else the letter with
// the combining mark after it.
void appendDiacritic(std::string& text, const Diacritic& diacritic, uint8_t letter) {
  const char* found = std::strchr(diacritic.letters, letter);
  if (found != nullptr) {
    appendUtf8(text, utf8Points(diacritic.composed)[static_cast<size_t>(found - diacritic.letters)]);
    return;
  }
  appendUtf8(text, letter);
  appendUtf8(text, diacritic.combining);
}

void decodeIso6937(std::string& text, const uint8_t* bytes, size_t length) {
  for (size_t at = 0; at < length; ++at) {
    const uint8_t byte = bytes[at];
    if (byte >= kFirstDiacritic && byte <= kLastDiacritic) {
      const Diacritic* diacritic = findDiacritic(byte);
      // Only a printable ASCII character can carry a mark; anything else is read on its own.
      if (diacritic != nullptr && at + 1 < length && bytes[at + 1] > 0x20 && bytes[at + 1] < 0x7f) {
        appendDiacritic(text, *diacritic, bytes[++at]);
      } else {
        appendUtf8(text, kReplacement);
      }
    } else if (byte >= 0xa0) {
      const char32_t point = kIso6937Upper[byte - 0xa0];
      appendUtf8(text, point != 0 ? point : kReplacement);
    } else {
      appendCharacter(text, byte);
    }
  }
}

// The characters of an ISO/IEC 8859 part from 0xA0 on (0 where the part has none), or nothing
// when this build has no converter for it.
using UpperHalf = std::array<char32_t, 96>;

#if OMBRIX_HAL_TOOL_HAS_ICONV
// One character through iconv: the code point of the first `size` bytes, or nothing when they
// are no whole character of the charset.
std::optional<char32_t> convertCharacter(iconv_t converter, const uint8_t* bytes, size_t size) {
  iconv(converter, nullptr, nullptr, nullptr, nullptr);
  char input[4];
  std::memcpy(input, bytes, size);
  unsigned char output[8];
  char* in = input;
  char* out = reinterpret_cast<char*>(output);
  size_t inLeft = size;
  size_t outLeft = sizeof output;
  if (iconv(converter, &in, &inLeft, &out, &outLeft) == static_cast<size_t>(-1) || inLeft != 0 ||
      outLeft != sizeof output - 4) {
    return std::nullopt;
  }
  return static_cast<char32_t>(output[0] << 24 | output[1] << 16 | output[2] << 8 | output[3]);
}
#endif

std::optional<UpperHalf> readUpperHalf(int part) {
  UpperHalf half{};
  if (part == 1) {
    for (size_t i = 0; i < half.size(); ++i) {
      half[i] = static_cast<char32_t>(0xa0 + i);
    }
    return half;
  }
#if OMBRIX_HAL_TOOL_HAS_ICONV
  const std::string charset = "ISO-8859-" + std::to_string(part);
  iconv_t converter = iconv_open("UTF-32BE", charset.c_str());
  if (converter == reinterpret_cast<iconv_t>(-1)) {
    return std::nullopt;
  }
  for (size_t i = 0; i < half.size(); ++i) {
    const uint8_t byte = static_cast<uint8_t>(0xa0 + i);
    half[i] = convertCharacter(converter, &byte, 1).value_or(0);
  }
  iconv_close(converter);
  return half;
#else
  return std::nullopt;
#endif
}

// Read once per part: the inspector decodes on the HAL's delivering thread.
const UpperHalf* upperHalf(int part) {
  static std::mutex mutex;
  static std::map<int, std::optional<UpperHalf>> halves;
  const std::lock_guard<std::mutex> lock(mutex);
  auto found = halves.find(part);
  if (found == halves.end()) {
    found = halves.emplace(part, readUpperHalf(part)).first;
  }
  return found->second ? &*found->second : nullptr;
}

void decodeIso8859(std::string& text, const UpperHalf& half, const uint8_t* bytes, size_t length) {
  for (size_t at = 0; at < length; ++at) {
    if (bytes[at] >= 0xa0) {
      const char32_t point = half[bytes[at] - 0xa0];
      appendUtf8(text, point != 0 ? point : kReplacement);
    } else {
      appendCharacter(text, bytes[at]);
    }
  }
}

void decodeUcs2(std::string& text, const uint8_t* bytes, size_t length) {
  for (size_t at = 0; at + 1 < length; at += 2) {
    appendCharacter(text, static_cast<char32_t>(bytes[at] << 8 | bytes[at + 1]));
  }
  if (length % 2 != 0) {
    appendUtf8(text, kReplacement);
  }
}

void decodeUtf8(std::string& text, const uint8_t* bytes, size_t length) {
  for (char32_t point : utf8Points(bytes, length)) {
    appendCharacter(text, point);
  }
}

// A table this build cannot read: its ASCII stays readable.
void decodeUnsupported(std::string& text, const uint8_t* bytes, size_t length) {
  for (size_t at = 0; at < length; ++at) {
    appendCharacter(text, bytes[at] < 0x80 ? bytes[at] : kReplacement);
  }
}

#if OMBRIX_HAL_TOOL_HAS_ICONV
// An EUC form of a double byte table: ASCII below 0x80, two bytes for anything else, and the
// two-byte control codes.
void decodeDoubleByte(std::string& text, const char* charset, const uint8_t* bytes, size_t length) {
  iconv_t converter = iconv_open("UTF-32BE", charset);
  for (size_t at = 0; at < length;) {
    if (bytes[at] < 0x80) {
      appendCharacter(text, bytes[at++]);
      continue;
    }
    const bool pair = at + 1 < length;
    const char32_t code = pair ? static_cast<char32_t>(bytes[at] << 8 | bytes[at + 1]) : 0;
    if (code >= 0xe080 && code <= 0xe09f) {
      appendCharacter(text, code);
      at += 2;
      continue;
    }
    const std::optional<char32_t> point = pair ? convertCharacter(converter, bytes + at, 2) : std::nullopt;
    appendUtf8(text, point.value_or(kReplacement));
    at += point ? 2 : 1;
  }
  iconv_close(converter);
}
#endif

// What the first bytes select: the table, how many bytes the selector takes, and the iconv
// name of a double byte table.
struct Selection {
  enum Kind { kIso6937, kIso8859, kUcs2, kUtf8, kDoubleByte, kUnsupported } kind;
  size_t skip = 0;
  int part = 0;
  const char* charset = nullptr;
  std::string name;
};

Selection selectTable(const uint8_t* bytes, size_t length) {
  if (length == 0 || bytes[0] >= 0x20) {
    return {.kind = Selection::kIso6937, .name = "ISO/IEC 6937"};
  }
  const uint8_t selector = bytes[0];
  char hex[8];
  std::snprintf(hex, sizeof hex, "0x%02X", selector);
  if (selector >= 0x01 && selector <= 0x0b) {
    const int part = selector + 4;
    return {.kind = Selection::kIso8859, .skip = 1, .part = part, .name = "ISO/IEC 8859-" + std::to_string(part)};
  }
  if (selector == 0x10) {
    const int part = length >= 3 && bytes[1] == 0 ? bytes[2] : 0;
    if (part >= 1 && part <= 15 && part != 12) {
      return {.kind = Selection::kIso8859, .skip = 3, .part = part, .name = "ISO/IEC 8859-" + std::to_string(part)};
    }
    return {.kind = Selection::kUnsupported, .skip = std::min<size_t>(length, 3), .name = "0x10 with an unknown part"};
  }
  switch (selector) {
    case 0x11: return {.kind = Selection::kUcs2, .skip = 1, .name = "UCS-2"};
    case 0x12: return {.kind = Selection::kDoubleByte, .skip = 1, .charset = "EUC-KR", .name = "KS X 1001"};
    case 0x13: return {.kind = Selection::kDoubleByte, .skip = 1, .charset = "GB2312", .name = "GB 2312"};
    // The Big5 subset is written in the two-byte form of ISO/IEC 10646.
    case 0x14: return {.kind = Selection::kUcs2, .skip = 1, .name = "Big5 subset of UCS-2"};
    case 0x15: return {.kind = Selection::kUtf8, .skip = 1, .name = "UTF-8"};
    case 0x1f: return {.kind = Selection::kUnsupported, .skip = std::min<size_t>(length, 2), .name = "encoding type 0x1F"};
    default: return {.kind = Selection::kUnsupported, .skip = 1, .name = std::string("reserved selector ") + hex};
  }
}

bool supported(const Selection& selection) {
  switch (selection.kind) {
    case Selection::kIso8859: return upperHalf(selection.part) != nullptr;
    case Selection::kDoubleByte: {
#if OMBRIX_HAL_TOOL_HAS_ICONV
      iconv_t converter = iconv_open("UTF-32BE", selection.charset);
      if (converter == reinterpret_cast<iconv_t>(-1)) {
        return false;
      }
      iconv_close(converter);
      return true;
#else
      return false;
#endif
    }
    case Selection::kUnsupported: return false;
    default: return true;
  }
}

// The bytes of `point` in the one-byte table of `half`, with ASCII below it.
std::optional<uint8_t> singleByte(const UpperHalf& half, char32_t point) {
  if (point >= 0x20 && point < 0x7f) {
    return static_cast<uint8_t>(point);
  }
  for (size_t i = 0; i < half.size(); ++i) {
    if (half[i] == point && point != 0) {
      return static_cast<uint8_t>(0xa0 + i);
    }
  }
  return std::nullopt;
}

bool encodeIso6937(const std::vector<char32_t>& points, std::vector<uint8_t>& encoded) {
  UpperHalf half{};
  std::copy(std::begin(kIso6937Upper), std::end(kIso6937Upper), half.begin());
  for (char32_t point : points) {
    if (const std::optional<uint8_t> byte = singleByte(half, point)) {
      encoded.push_back(*byte);
      continue;
    }
    bool found = false;
    for (const Diacritic& diacritic : kDiacritics) {
      const std::vector<char32_t> composed = utf8Points(diacritic.composed);
      for (size_t i = 0; !found && i < composed.size(); ++i) {
        if (composed[i] == point) {
          encoded.push_back(diacritic.code);
          encoded.push_back(static_cast<uint8_t>(diacritic.letters[i]));
          found = true;
        }
      }
    }
    if (!found) {
      return false;
    }
  }
  return true;
}

}  // namespace

DvbTextTable dvbTextTable(const uint8_t* bytes, size_t length) {
  const Selection selection = selectTable(bytes, length);
  return {selection.name, supported(selection)};
}

std::string dvbTextToUtf8(const uint8_t* bytes, size_t length) {
  const Selection selection = selectTable(bytes, length);
  const uint8_t* text = bytes + selection.skip;
  const size_t size = length - selection.skip;
  std::string decoded;
  switch (selection.kind) {
    case Selection::kIso6937: decodeIso6937(decoded, text, size); break;
    case Selection::kIso8859:
      if (const UpperHalf* half = upperHalf(selection.part)) {
        decodeIso8859(decoded, *half, text, size);
      } else {
        decodeUnsupported(decoded, text, size);
      }
      break;
    case Selection::kUcs2: decodeUcs2(decoded, text, size); break;
    case Selection::kUtf8: decodeUtf8(decoded, text, size); break;
    case Selection::kDoubleByte:
#if OMBRIX_HAL_TOOL_HAS_ICONV
      if (supported(selection)) {
        decodeDoubleByte(decoded, selection.charset, text, size);
        break;
      }
#endif
      decodeUnsupported(decoded, text, size);
      break;
    case Selection::kUnsupported: decodeUnsupported(decoded, text, size); break;
  }
  return decoded;
}

bool utf8ToDvbText(const std::string& utf8, const std::string& table, std::vector<uint8_t>& encoded) {
  const std::vector<char32_t> points = utf8Points(utf8);
  encoded.clear();
  if (table == "6937") {
    return encodeIso6937(points, encoded);
  }
  if (table == "utf-8") {
    encoded.push_back(0x15);
    encoded.insert(encoded.end(), utf8.begin(), utf8.end());
    return true;
  }
  if (table == "ucs-2") {
    encoded.push_back(0x11);
    for (char32_t point : points) {
      if (point > 0xffff) {
        return false;
      }
      encoded.push_back(static_cast<uint8_t>(point >> 8));
      encoded.push_back(static_cast<uint8_t>(point));
    }
    return true;
  }
  const int part = table.rfind("8859-", 0) == 0 ? std::atoi(table.c_str() + 5) : 0;
  const UpperHalf* half = part >= 1 && part <= 15 && part != 12 ? upperHalf(part) : nullptr;
  if (half == nullptr) {
    return false;
  }
  // The one-byte selectors cover parts 5 to 15; the others take the three-byte form.
  if (part >= 5) {
    encoded.push_back(static_cast<uint8_t>(part - 4));
  } else {
    encoded.insert(encoded.end(), {0x10, 0x00, static_cast<uint8_t>(part)});
  }
  for (char32_t point : points) {
    const std::optional<uint8_t> byte = singleByte(*half, point);
    if (!byte) {
      return false;
    }
    encoded.push_back(*byte);
  }
  return true;
}

size_t textColumns(const std::string& utf8) {
  size_t columns = 0;
  for (char32_t point : utf8Points(utf8)) {
    const bool combining = point >= 0x0300 && point <= 0x036f;
    const bool wide = (point >= 0x1100 && point <= 0x115f) || (point >= 0x2e80 && point <= 0xa4cf) ||
                      (point >= 0xac00 && point <= 0xd7a3) || (point >= 0xf900 && point <= 0xfaff) ||
                      (point >= 0xfe30 && point <= 0xfe4f) || (point >= 0xff00 && point <= 0xff60) ||
                      (point >= 0xffe0 && point <= 0xffe6);
    columns += combining ? 0 : wide ? 2 : 1;
  }
  return columns;
}
