// What the player library emulator recorded, as text that a test compares whole: the emulator's
// own tests and the AV player's read the same record.
#ifndef OMBRIX_HAL_PLAYER_LIBRARY_CALLS_H
#define OMBRIX_HAL_PLAYER_LIBRARY_CALLS_H

#include <string>
#include <vector>

#include "voMTPEmulatorControl.h"

namespace ombrixhal::test {

// The calls since the emulator's reset as "Name#decoder(arguments)=result", without the library's
// prefix, trailing zero arguments and a result of 0 left out; only those starting with `only`.
inline std::vector<std::string> libraryCalls(const std::string& only = "") {
  std::vector<voMTPEmulatorCall> calls(voMTPEmulatorGetCalls(nullptr, 0));
  voMTPEmulatorGetCalls(calls.data(), uint32_t(calls.size()));
  std::vector<std::string> texts;
  for (const auto& [function, decoder, arguments, result] : calls) {
    std::string text = std::string(function + 5) + "#" + std::to_string(decoder);
    int count = 6;
    while (count > 0 && arguments[count - 1] == 0) {
      --count;
    }
    for (int index = 0; index < count; ++index) {
      text += (index == 0 ? "(" : ",") + std::to_string(arguments[index]) + (index == count - 1 ? ")" : "");
    }
    text += result != 0 ? "=" + std::to_string(result) : "";
    if (text.starts_with(only)) {
      texts.push_back(text);
    }
  }
  return texts;
}

}  // namespace ombrixhal::test

#endif
