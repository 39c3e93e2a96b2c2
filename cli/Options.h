// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The options of a verb as data. Each verb has one list of options. The parser, the help, the
// fingerprint of --resume, the settings in JSON records and `vx list options` use this list.

#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "Values.h"

namespace vxcli {

// The effect of an option on the pixels, and its part of the fingerprint of --resume (a digest of
// everything that affects the pixels, see JobRun.h).
enum class Decides {
  Pixels,    // the value affects the pixels; it is part of the fingerprint
  Contents,  // the option names a file whose contents affect the pixels; the option list adds to
             // the fingerprint only whether the option is given, and the job adds the contents
  Nothing,   // the option does not affect the pixels
};

// --- values --------------------------------------------------------------------------------------

// Converts the text of an argument and stores the result in a member of the verb's options.
struct Value {
  enum Kind { Flag, Number, Text };

  Kind kind = Text;
  // Converts and stores the text of an argument. Throws UsageError, or VXIO_Error for a file that
  // cannot be read. A flag ignores the text.
  std::function<void(const std::string& option, const std::string& text)> set;
  std::string range = {};  // the accepted values; replaces %r in the help
  int32_t count = 1;       // number of arguments
};

template <class T>
struct ValueOf {
  using Type = T;
};
template <class T>
struct ValueOf<std::optional<T>> {
  using Type = T;
};

// Returns a value that is converted by `parse(option, text)`, such as a function of Values.h.
template <class T, class Parse>
Value Parsed(T* to, Parse parse) {
  return {Value::Text, [to, parse](const std::string& option, const std::string& text) {
            *to = static_cast<typename ValueOf<T>::Type>(parse(option, text));
          }};
}

Value Flag(bool* to);
Value Text(std::string* to);
std::string RangeText(double least, double largest);

template <class T>
Value Integer(T* to, int64_t least, int64_t largest) {
  Value value = Parsed(to, [=](const std::string& option, const std::string& text) {
    return ParseInteger(option, text, least, largest);
  });
  value.kind = Value::Number;
  value.range = RangeText(static_cast<double>(least), static_cast<double>(largest));
  return value;
}

template <class T>
Value Number(T* to, double least, double largest) {
  Value value = Parsed(to, [=](const std::string& option, const std::string& text) {
    return ParseNumber(option, text, least, largest);
  });
  value.kind = Value::Number;
  value.range = RangeText(least, largest);
  return value;
}

// A fraction from 0 to 1, or a percentage.
template <class T>
Value Share(T* to) {
  Value value = Parsed(to, ParseShare);
  value.kind = Value::Number;
  value.range = "0 to 1 or 0% to 100%";
  return value;
}

// Stores the index of the text in `choices`.
template <class T>
Value Choice(T* to, const std::vector<std::string>& choices) {
  Value value = Parsed(to, [=](const std::string& option, const std::string& text) {
    return ParseChoice(option, text, choices);
  });
  value.range = JoinWords(choices, " or ");
  return value;
}

template <class T>
Value DepthValue(T* to, Keep keep) {
  Value value = Parsed(to, [=](const std::string& option, const std::string& text) {
    return ParseDepth(option, text, keep);
  });
  value.range = keep == Keep::Allowed ? "8, 16, 32 or keep" : "8, 16 or 32";
  return value;
}

// "WxH" with sides from 1 to 30000.
Value SizeValue(std::optional<Size>* to);

// --- options -------------------------------------------------------------------------------------

struct Option {
  std::string name;     // "--depth", "-o,--output", or "IN" for a positional argument
  std::string metavar;  // name of the value in the help; empty for a flag
  Value value;
  std::string help;           // without the default
  std::string fallback = {};  // default value, as text
  std::string without =
      {};  // description of the default for the help, if there is no default value
  std::string excludes = {};  // an option that cannot be combined with this one
  bool required = false;
  bool repeats = false;  // may be given several times; each value is stored
  Decides decides = Decides::Pixels;
  std::function<std::string()> identity = {};  // returns the text for the fingerprint, if set
  std::string group = {};                      // heading in the help
  std::vector<std::string> given = {};         // arguments of the command line

  Option& Default(const std::string& text) { return fallback = text, *this; }
  Option& Without(const std::string& text) { return without = text, *this; }
  Option& Excludes(const std::string& other) { return excludes = other, *this; }
  Option& Required() { return required = true, *this; }
  Option& Repeats() { return repeats = true, *this; }
  Option& For(Decides what) { return decides = what, *this; }
  Option& Identity(std::function<std::string()> text) { return identity = std::move(text), *this; }

  bool IsFlag() const { return value.kind == Value::Flag; }
  std::string LongName() const { return name.substr(name.find(',') + 1); }
  std::string DefaultText() const { return fallback.empty() ? without : fallback; }
  std::string HelpText() const;  // with range and default
};

// Returns the option --depth. "keep" is stored as 0.
Option DepthOption(int32_t* to, const std::string& help);
Option QualityOption(vx::Quality* to, const std::string& help);

using OptionList = std::vector<Option>;

OptionList Join(std::vector<OptionList> lists);
OptionList InGroup(const std::string& heading, OptionList options);
Option* Find(OptionList* options, const std::string& long_name);

// Stores the value of each option: the given one, else the default.
void SetValues(OptionList* options);

// --- parts ---------------------------------------------------------------------------------------

// Options that may be given several times, once for each part: a layer of composite, a placement of
// transform.
struct Parts {
  std::string starter;                // the option that begins a part; empty: the verb has no parts
  std::string name;                   // name of a part: "layer"
  bool open = false;                  // true: options before the first starter are a part too
  OptionList options;                 // of one part; for the help and for recognising arguments
  std::function<OptionList()> add;    // makes the options of a new part
  std::vector<OptionList> list = {};  // the parts of the command line
};

// Removes the options of the parts from the arguments and stores their values. Throws UsageError.
void ExtractParts(Parts* parts, std::vector<std::string>* arguments);

// --- records -------------------------------------------------------------------------------------

enum class RecordFor { Reader, Fingerprint };

// Returns the values, given or default, of the options that affect the pixels.
nlohmann::ordered_json SettingsRecord(const OptionList& options, const Parts& parts, RecordFor use);

// Returns one record per option, for `vx list options`.
nlohmann::ordered_json DescribeOptions(const std::string& verb, const OptionList& options);

}  // namespace vxcli
