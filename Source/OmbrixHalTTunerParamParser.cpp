// The one-line text form of a tuner parameter record: the lexer, the key lookup and one
// parser per tuner type. Nothing is allocated: words live in 257-byte buffers on the stack,
// and every key lookup scans the line again from its start.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>

#include "OmbrixHalTuner.h"

namespace {

constexpr const char* kTypeKey = ":";

// Characters of a word that are kept; the rest of a longer word is scanned and dropped.
constexpr size_t kWordLength = OMBRIX_HAL_TUNER_PARAM_VALUE_SIZE - 1;

// kUnknown is produced by no input.
enum class Token { kUnknown = 0, kEnd = 1, kWord = 2, kEquals = 3, kColon = 4, kComma = 5 };

bool isBlank(char character) {
  return character == ' ' || character == '\t';
}

// Only a colon followed by a space or the end separates; any other colon belongs to a word
// ("C:\dir", "DVB-T:freq").
bool isColonAt(const char* position) {
  return position[0] == ':' && (position[1] == ' ' || position[1] == '\0');
}

bool endsWord(const char* position) {
  const char character = *position;
  return character == '\0' || character == '=' || character == ',' || isBlank(character) || isColonAt(position);
}

class Lexer {
 public:
  explicit Lexer(const char* line) : cursor_(line) {}

  // Returns the next token; a word is copied into `word` (nullptr skips it, otherwise
  // OMBRIX_HAL_TUNER_PARAM_VALUE_SIZE bytes). The cursor never passes the terminator.
  Token next(char* word) {
    while (isBlank(*cursor_)) {
      ++cursor_;
    }
    switch (*cursor_) {
      case '\0':
        return Token::kEnd;
      case '=':
        ++cursor_;
        return Token::kEquals;
      case ',':
        ++cursor_;
        return Token::kComma;
      default:
        break;
    }
    if (isColonAt(cursor_)) {
      ++cursor_;
      return Token::kColon;
    }
    size_t length = 0;
    bool quoted = false;
    for (; *cursor_ != '\0' && (quoted || !endsWord(cursor_)); ++cursor_) {
      // A quote toggles quoting and is never part of the word.
      if (*cursor_ == '"') {
        quoted = !quoted;
      } else if (length < kWordLength) {
        if (word != nullptr) {
          word[length] = *cursor_;
        }
        ++length;
      }
    }
    if (word != nullptr) {
      word[length] = '\0';
    }
    return Token::kWord;
  }

  // The character right behind the last token, blanks not skipped.
  char following() const { return *cursor_; }

 private:
  const char* cursor_;
};

// The standard decimal reading (blanks, a sign, digits, the rest ignored, no digits 0);
// values beyond 32 bits saturate, on every target alike.
int32_t decimalValue(const char* text) {
  const long long value = std::strtoll(text, nullptr, 10);
  return static_cast<int32_t>(std::clamp<long long>(value, INT32_MIN, INT32_MAX));
}

// What a missing key means: a failure, or the default stored before the lookup.
struct Missing {
  bool required;
  int32_t defaultValue;
};
constexpr Missing kRequired{true, 0};
constexpr Missing defaultTo(int32_t value) {
  return {false, value};
}

// A value word and what it stores.
struct Choice {
  const char* word;
  int32_t value;
};

enum class Match { kWholeWord, kFirstCharacter };
enum class OutOfRange { kFails, kIgnored };

// Reads the keys of one line into the fields of a record. A bad value does not stop the
// reading, so every field that can be set is set; ok() is the conjunction of all reads.
class FieldReader {
 public:
  explicit FieldReader(const char* line) : line_(line) {}

  template <typename Field>
  void number(const char* key, Field& field, Missing missing) {
    storeDefault(field, missing);
    if (find(key, missing.required)) {
      field = static_cast<Field>(decimalValue(value_));
    }
  }

  // False only when the value is none of the choices.
  bool choice(const char* key, int32_t& field, Missing missing, std::span<const Choice> choices, Match match) {
    storeDefault(field, missing);
    if (!find(key, missing.required)) {
      return true;
    }
    for (const Choice& candidate : choices) {
      const bool matches = match == Match::kWholeWord ? std::strcmp(value_, candidate.word) == 0
                                                      : value_[0] == candidate.word[0];
      if (matches) {
        field = candidate.value;
        return true;
      }
    }
    ok_ = false;
    return false;
  }

  // A value outside 0..65535 leaves the default in place.
  void count(const char* key, uint16_t& field, uint16_t defaultValue, OutOfRange outOfRange) {
    field = defaultValue;
    if (!find(key, false)) {
      return;
    }
    const int32_t value = decimalValue(value_);
    if (value < 0 || value > UINT16_MAX) {
      ok_ = ok_ && outOfRange == OutOfRange::kIgnored;
      return;
    }
    field = static_cast<uint16_t>(value);
  }

  // Required. The field's last byte is always zero; a longer name is cut and fails.
  void name(const char* key, char (&field)[OMBRIX_HAL_TUNER_FILE_NAME_SIZE]) {
    if (!find(key, true)) {
      return;
    }
    const size_t length = std::strlen(value_);
    const size_t copied = length < sizeof field ? length : sizeof field - 1;
    std::memcpy(field, value_, copied);
    std::memset(field + copied, 0, sizeof field - copied);
    ok_ = ok_ && length < sizeof field;
  }

  bool ok() const { return ok_; }

 private:
  template <typename Field>
  static void storeDefault(Field& field, Missing missing) {
    if (!missing.required) {
      field = static_cast<Field>(missing.defaultValue);
    }
  }

  bool find(const char* key, bool required) {
    if (OmbrixHalTunerParamParserGetParamValue(line_, key, value_)) {
      return true;
    }
    ok_ = ok_ && !required;
    return false;
  }

  const char* line_;
  char value_[OMBRIX_HAL_TUNER_PARAM_VALUE_SIZE];
  bool ok_ = true;
};

constexpr Choice kDvbCModulations[] = {
    {"qam16", OMBRIX_HAL_TUNER_MODULATION_QAM_16},   {"qam32", OMBRIX_HAL_TUNER_MODULATION_QAM_32},
    {"qam64", OMBRIX_HAL_TUNER_MODULATION_QAM_64},   {"qam128", OMBRIX_HAL_TUNER_MODULATION_QAM_128},
    {"qam256", OMBRIX_HAL_TUNER_MODULATION_QAM_256},
};

// Deliberate: no '5' here, so a 5 MHz bandwidth cannot be given in text.
constexpr Choice kDvbTBandwidths[] = {
    {"6", OMBRIX_HAL_TUNER_BANDWIDTH_6_MHZ},
    {"7", OMBRIX_HAL_TUNER_BANDWIDTH_7_MHZ},
    {"8", OMBRIX_HAL_TUNER_BANDWIDTH_8_MHZ},
};
constexpr Choice kDvbTCodeRates[] = {
    {"auto", OMBRIX_HAL_TUNER_CODE_RATE_AUTO},
    {"1/2", OMBRIX_HAL_TUNER_CODE_RATE_1_2},
    {"2/3", OMBRIX_HAL_TUNER_CODE_RATE_2_3},
    {"3/4", OMBRIX_HAL_TUNER_CODE_RATE_4_5},  // Deliberate: the value of "4/5"; the satellite parsers store 3/4.
    {"5/6", OMBRIX_HAL_TUNER_CODE_RATE_5_6},
    {"7/8", OMBRIX_HAL_TUNER_CODE_RATE_7_8},
};
constexpr Choice kDvbTModulations[] = {
    {"auto", OMBRIX_HAL_TUNER_MODULATION_AUTO},
    {"qpsk", OMBRIX_HAL_TUNER_MODULATION_QPSK},
    {"qam16", OMBRIX_HAL_TUNER_MODULATION_QAM_16},
    {"qam64", OMBRIX_HAL_TUNER_MODULATION_QAM_64},
};
constexpr Choice kDvbTTransmissionModes[] = {
    {"auto", OMBRIX_HAL_TUNER_TRANSMISSION_MODE_AUTO},
    {"2k", OMBRIX_HAL_TUNER_TRANSMISSION_MODE_2K},
    {"4k", OMBRIX_HAL_TUNER_TRANSMISSION_MODE_4K},
    {"8k", OMBRIX_HAL_TUNER_TRANSMISSION_MODE_8K},
};
constexpr Choice kDvbTGuardIntervals[] = {
    {"auto", OMBRIX_HAL_TUNER_GUARD_INTERVAL_AUTO}, {"1/4", OMBRIX_HAL_TUNER_GUARD_INTERVAL_1_4},
    {"1/8", OMBRIX_HAL_TUNER_GUARD_INTERVAL_1_8},   {"1/16", OMBRIX_HAL_TUNER_GUARD_INTERVAL_1_16},
    {"1/32", OMBRIX_HAL_TUNER_GUARD_INTERVAL_1_32},
};

constexpr Choice kDvbSCodeRates[] = {
    {"auto", OMBRIX_HAL_TUNER_CODE_RATE_AUTO}, {"1/2", OMBRIX_HAL_TUNER_CODE_RATE_1_2},
    {"2/3", OMBRIX_HAL_TUNER_CODE_RATE_2_3},   {"3/4", OMBRIX_HAL_TUNER_CODE_RATE_3_4},
    {"4/5", OMBRIX_HAL_TUNER_CODE_RATE_4_5},   {"5/6", OMBRIX_HAL_TUNER_CODE_RATE_5_6},
    {"6/7", OMBRIX_HAL_TUNER_CODE_RATE_6_7},   {"7/8", OMBRIX_HAL_TUNER_CODE_RATE_7_8},
};
constexpr Choice kDvbS2CodeRates[] = {
    {"auto", OMBRIX_HAL_TUNER_CODE_RATE_AUTO}, {"1/2", OMBRIX_HAL_TUNER_CODE_RATE_1_2},
    {"1/3", OMBRIX_HAL_TUNER_CODE_RATE_1_3},   {"1/4", OMBRIX_HAL_TUNER_CODE_RATE_1_4},
    {"2/3", OMBRIX_HAL_TUNER_CODE_RATE_2_3},   {"2/5", OMBRIX_HAL_TUNER_CODE_RATE_2_5},
    {"3/4", OMBRIX_HAL_TUNER_CODE_RATE_3_4},   {"3/5", OMBRIX_HAL_TUNER_CODE_RATE_3_5},
    {"4/5", OMBRIX_HAL_TUNER_CODE_RATE_4_5},   {"5/6", OMBRIX_HAL_TUNER_CODE_RATE_5_6},
    {"6/7", OMBRIX_HAL_TUNER_CODE_RATE_6_7},   {"7/8", OMBRIX_HAL_TUNER_CODE_RATE_7_8},
    {"8/9", OMBRIX_HAL_TUNER_CODE_RATE_8_9},   {"9/10", OMBRIX_HAL_TUNER_CODE_RATE_9_10},
};
// DVB-S accepts the first two, DVB-S2 all three.
constexpr Choice kSatelliteModulations[] = {
    {"auto", OMBRIX_HAL_TUNER_MODULATION_AUTO},
    {"qpsk", OMBRIX_HAL_TUNER_MODULATION_QPSK},
    {"8psk", OMBRIX_HAL_TUNER_MODULATION_8PSK},
};
constexpr Choice kPolarisations[] = {
    {"H", OMBRIX_HAL_TUNER_POLARISATION_HORIZONTAL},
    {"V", OMBRIX_HAL_TUNER_POLARISATION_VERTICAL},
};
// Position and option alike.
constexpr Choice kSatelliteChoices[] = {
    {"A", OMBRIX_HAL_TUNER_SATELLITE_POSITION_A},
    {"B", OMBRIX_HAL_TUNER_SATELLITE_POSITION_B},
};

constexpr int32_t kDefaultLofLowMhz = 9750;
constexpr int32_t kDefaultLofHighMhz = 10600;
constexpr int32_t kDefaultLofSwitchMhz = 11700;

// The rest of the record keeps what the caller had.
OmbrixHalBool parseAnalog(const char* line, OmbrixHalTunerParameter& record) {
  OmbrixHalTunerParameterAnalog& analog = record.Analog;
  analog.Type = OMBRIX_HAL_TUNER_TYPE_ANALOG;
  FieldReader fields(line);
  fields.number("freq", analog.Frequency, kRequired);
  return fields.ok();
}

OmbrixHalBool parseDvbC(const char* line, OmbrixHalTunerParameter& record) {
  OmbrixHalTunerParameterDvbC& dvbC = record.DvbC;
  dvbC.Type = OMBRIX_HAL_TUNER_TYPE_DVB_C;
  FieldReader fields(line);
  fields.number("freq", dvbC.Frequency, kRequired);
  fields.number("symbolrate", dvbC.SymbolRate, kRequired);
  // Deliberate: an unknown modulation ends the parse at once, unlike any other bad value.
  if (!fields.choice("mod", dvbC.Modulation, defaultTo(OMBRIX_HAL_TUNER_MODULATION_QAM_64), kDvbCModulations,
                     Match::kWholeWord)) {
    return 0;
  }
  return fields.ok();
}

OmbrixHalBool parseDvbT(const char* line, OmbrixHalTunerParameter& record) {
  std::memset(&record, 0, sizeof record);
  OmbrixHalTunerParameterDvbT& dvbT = record.DvbT;
  dvbT.Type = OMBRIX_HAL_TUNER_TYPE_DVB_T;
  FieldReader fields(line);
  fields.number("freq", dvbT.Frequency, kRequired);
  fields.choice("bandwidth", dvbT.Bandwidth, defaultTo(OMBRIX_HAL_TUNER_BANDWIDTH_8_MHZ), kDvbTBandwidths,
                Match::kFirstCharacter);
  fields.choice("coderate", dvbT.CodeRate, defaultTo(OMBRIX_HAL_TUNER_CODE_RATE_AUTO), kDvbTCodeRates,
                Match::kWholeWord);
  fields.choice("mod", dvbT.Modulation, defaultTo(OMBRIX_HAL_TUNER_MODULATION_AUTO), kDvbTModulations,
                Match::kWholeWord);
  fields.choice("trans", dvbT.TransmissionMode, defaultTo(OMBRIX_HAL_TUNER_TRANSMISSION_MODE_AUTO),
                kDvbTTransmissionModes, Match::kWholeWord);
  fields.choice("guard", dvbT.GuardInterval, defaultTo(OMBRIX_HAL_TUNER_GUARD_INTERVAL_AUTO), kDvbTGuardIntervals,
                Match::kWholeWord);
  return fields.ok();
}

// DVB-S and DVB-S2 lines both make a DVB-S record; they differ only in the words they accept.
OmbrixHalBool parseSatellite(const char* line, OmbrixHalTunerParameter& record, std::span<const Choice> codeRates,
                             std::span<const Choice> modulations) {
  std::memset(&record, 0, sizeof record);
  OmbrixHalTunerParameterDvbS& dvbS = record.DvbS;
  // Deliberate: ModulationSystem stays 0 ("DVB-S"), for DVB-S2 lines too.
  dvbS.Type = OMBRIX_HAL_TUNER_TYPE_DVB_S;
  FieldReader fields(line);
  fields.number("freq", dvbS.Frequency, kRequired);
  fields.number("symbolrate", dvbS.SymbolRate, kRequired);
  fields.choice("coderate", dvbS.CodeRate, defaultTo(OMBRIX_HAL_TUNER_CODE_RATE_AUTO), codeRates, Match::kWholeWord);
  fields.choice("mod", dvbS.Modulation, defaultTo(OMBRIX_HAL_TUNER_MODULATION_AUTO), modulations, Match::kWholeWord);
  fields.number("loflow", dvbS.LofLow, defaultTo(kDefaultLofLowMhz));
  fields.number("lofhigh", dvbS.LofHigh, defaultTo(kDefaultLofHighMhz));
  fields.number("lofswitch", dvbS.LofSwitch, defaultTo(kDefaultLofSwitchMhz));
  fields.choice("pol", dvbS.Polarisation, kRequired, kPolarisations, Match::kFirstCharacter);
  fields.choice("pos", dvbS.Position, defaultTo(OMBRIX_HAL_TUNER_SATELLITE_POSITION_A), kSatelliteChoices,
                Match::kFirstCharacter);
  fields.choice("opt", dvbS.Option, defaultTo(OMBRIX_HAL_TUNER_SATELLITE_OPTION_A), kSatelliteChoices,
                Match::kFirstCharacter);
  return fields.ok();
}

// Name and repetitions, as both file layouts have them. Deliberate: an out-of-range count
// fails for analogFile but is ignored for digitalFile.
template <typename Layout>
void readFileFields(FieldReader& fields, Layout& file, OutOfRange repetitionsOutOfRange) {
  fields.name("name", file.Name);
  fields.count("repetitions", file.Repetitions, 1, repetitionsOutOfRange);
}

// Not cleared first.
OmbrixHalBool parseAnalogFile(const char* line, OmbrixHalTunerParameter& record) {
  OmbrixHalTunerParameterAnalogFile& file = record.AnalogFile;
  file.Type = OMBRIX_HAL_TUNER_TYPE_ANALOG_FILE;
  FieldReader fields(line);
  readFileFields(fields, file, OutOfRange::kFails);
  fields.count("fieldInterval", file.FieldInterval, 0, OutOfRange::kFails);
  return fields.ok();
}

// Not cleared first.
OmbrixHalBool parseDigitalFile(const char* line, OmbrixHalTunerParameter& record) {
  OmbrixHalTunerParameterDigitalFile& file = record.DigitalFile;
  file.Type = OMBRIX_HAL_TUNER_TYPE_DIGITAL_FILE;
  FieldReader fields(line);
  readFileFields(fields, file, OutOfRange::kIgnored);
  fields.number("symbolrate", file.SymbolRate, defaultTo(0));
  return fields.ok();
}

void copyWord(char* target, const char* word) {
  if (target != nullptr) {
    std::memcpy(target, word, std::strlen(word) + 1);
  }
}

}  // namespace

OmbrixHalBool OmbrixHalTunerParamParserGetParamValue(const char* aString, const char* aKey, char* aValue) noexcept {
  if (aValue != nullptr) {
    aValue[0] = '\0';
  }
  if (aString == nullptr || aKey == nullptr) {
    return 0;
  }
  Lexer lexer(aString);
  char word[OMBRIX_HAL_TUNER_PARAM_VALUE_SIZE];
  if (lexer.next(word) != Token::kWord) {
    return 0;
  }
  // The type word counts only when the colon follows it directly: "DVB-T : freq=1" has no
  // type, and its colon then stands where a key belongs, so no key is found either.
  const char behindType = lexer.following();
  if (behindType == ':' || behindType == '\0') {
    if (std::strcmp(aKey, kTypeKey) == 0) {
      copyWord(aValue, word);
      return 1;
    }
    if (behindType == ':') {
      lexer.next(nullptr);
    }
  }
  // Pairs, separated by a comma or by blanks alone; the first pair with the key wins.
  Token token = lexer.next(word);
  while (token == Token::kWord) {
    if (lexer.next(nullptr) != Token::kEquals) {
      return 0;
    }
    const bool wanted = std::strcmp(word, aKey) == 0;
    if (lexer.next(wanted ? aValue : nullptr) != Token::kWord) {
      return 0;
    }
    if (wanted) {
      return 1;
    }
    token = lexer.next(word);
    if (token == Token::kComma) {
      token = lexer.next(word);
    }
  }
  return 0;
}

OmbrixHalBool OmbrixHalTunerParamParser(const char* aString, OmbrixHalTunerParameter* aParameter) noexcept {
  if (aString == nullptr || aParameter == nullptr) {
    return 0;
  }
  char typeWord[OMBRIX_HAL_TUNER_PARAM_VALUE_SIZE];
  if (!OmbrixHalTunerParamParserGetParamValue(aString, kTypeKey, typeWord)) {
    return 0;
  }
  OmbrixHalTunerParameter& record = *aParameter;
  switch (OmbrixHalTunerParameterGetTunerTypeFromString(typeWord)) {
    case OMBRIX_HAL_TUNER_TYPE_ANALOG:
      return parseAnalog(aString, record);
    case OMBRIX_HAL_TUNER_TYPE_ANALOG_FILE:
      return parseAnalogFile(aString, record);
    case OMBRIX_HAL_TUNER_TYPE_DIGITAL_FILE:
      return parseDigitalFile(aString, record);
    case OMBRIX_HAL_TUNER_TYPE_DVB_C:
      return parseDvbC(aString, record);
    case OMBRIX_HAL_TUNER_TYPE_DVB_S:
      return parseSatellite(aString, record, kDvbSCodeRates, std::span(kSatelliteModulations).first(2));
    case OMBRIX_HAL_TUNER_TYPE_DVB_S2:
      return parseSatellite(aString, record, kDvbS2CodeRates, kSatelliteModulations);
    case OMBRIX_HAL_TUNER_TYPE_DVB_T:
      return parseDvbT(aString, record);
    case OMBRIX_HAL_TUNER_TYPE_ASI:
      return 1;  // Deliberate: nothing is written, the record stays as the caller had it.
    default:
      return 0;  // UNKNOWN, analogCvbs and digital have no text form
  }
}
