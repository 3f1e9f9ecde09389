// DVB strings (service, provider, network and event names) to UTF-8 and back: the character
// table a string selects with its first bytes, its control codes, and U+FFFD for whatever the
// table cannot read.
#ifndef OMBRIX_HAL_TOOL_DVB_TEXT_H
#define OMBRIX_HAL_TOOL_DVB_TEXT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// The table a DVB string selects, by name ("ISO/IEC 6937", "ISO/IEC 8859-9", "UCS-2", ...);
// `supported` is false for a selector this build cannot read (its bytes then decode as ASCII,
// every other byte as U+FFFD).
struct DvbTextTable {
  std::string name;
  bool supported = true;
};

DvbTextTable dvbTextTable(const uint8_t* bytes, size_t length);

// The string as UTF-8: emphasis codes dropped, the line break code as "\n".
std::string dvbTextToUtf8(const uint8_t* bytes, size_t length);

// `utf8` in the table named `table` ("6937", "8859-1" to "8859-15", "ucs-2", "utf-8") with its
// selector bytes; false when the table has no such table or cannot hold a character.
bool utf8ToDvbText(const std::string& utf8, const std::string& table, std::vector<uint8_t>& encoded);

// Terminal columns of a UTF-8 text: combining marks take none, East-Asian wide characters two.
size_t textColumns(const std::string& utf8);

#endif
