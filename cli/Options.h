// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The options of a verb as data. The command line, the help, the fingerprint of --resume, the
// settings in JSON records and `vx list options` are made from one list of options per verb.

#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "Values.h"

namespace vxcli {

// What the fingerprint of --resume takes from an option.
enum class Decides {
  Pixels,    // the value
  Contents,  // whether it is given; the job adds the contents of the file that it names
  Nothing,   // nothing: the option does not change a pixel
};

// --- values --------------------------------------------------------------------------------------

// Converts the text of an argument and stores the result in a member of the verb's options.
struct Value {
  enum Kind { Flag, Number, Text };

  Kind kind = Text;
  // Throws UsageError, or VXIO_Error for a file that cannot be read. A flag ignores the text.
  std::function<void(const std::string& option, const std::string& text)> set;
  std::string range = {};  // replaces %r in the help
  int32_t count = 1;       // arguments
};

template <class T>
struct ValueOf {
  using Type = T;
};
template <class T>
struct ValueOf<std::optional<T>> {
  using Type = T;
};

// A value for `parse(option, text)`, such as the functions of Values.h.
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

// Stores the position of the text in `choices`.
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
  std::string name;     // "--depth", "-o,--output", or "IN" for an argument by position
  std::string metavar;  // of the value; empty for a flag
  Value value;
  std::string help;           // without the default
  std::string fallback = {};  // the text that counts when the option is not given
  std::string without = {};  // for the help, if there is no such text: the effect of leaving it out
  std::string excludes = {};  // another option
  bool required = false;
  Decides decides = Decides::Pixels;
  std::function<std::string()> identity = {};  // for the fingerprint, in place of the text
  std::string group = {};                      // heading in the help
  std::vector<std::string> given = {};         // texts of the command line

  Option& Default(const std::string& text) { return fallback = text, *this; }
  Option& Without(const std::string& text) { return without = text, *this; }
  Option& Excludes(const std::string& other) { return excludes = other, *this; }
  Option& Required() { return required = true, *this; }
  Option& For(Decides what) { return decides = what, *this; }
  Option& Identity(std::function<std::string()> text) { return identity = std::move(text), *this; }

  bool IsFlag() const { return value.kind == Value::Flag; }
  std::string LongName() const { return name.substr(name.find(',') + 1); }
  std::string DefaultText() const { return fallback.empty() ? without : fallback; }
  std::string HelpText() const;  // with range and default
};

// --depth, with "keep", stored as 0.
Option DepthOption(int32_t* to, const std::string& help);
Option QualityOption(vx::Quality* to, const std::string& help);

using OptionList = std::vector<Option>;

OptionList Join(std::vector<OptionList> lists);
OptionList InGroup(const std::string& heading, OptionList options);
Option* Find(OptionList* options, const std::string& long_name);

// Stores the given value of each option, else its default.
void SetValues(OptionList* options);

// --- parts ---------------------------------------------------------------------------------------

// Options that a verb takes several times: for each layer of composite, for each place of
// transform.
struct Parts {
  std::string starter;                // the option that begins a part; empty: the verb has none
  std::string name;                   // of a part: "layer"
  bool open = false;                  // options before the first starter are a part too
  OptionList options;                 // of one part, for the help and to recognise arguments
  std::function<OptionList()> add;    // makes the options of a new part
  std::vector<OptionList> list = {};  // the parts of the command line
};

// Moves the options of the parts out of the arguments and stores their values. Throws UsageError.
void TakeParts(Parts* parts, std::vector<std::string>* arguments);

// --- records -------------------------------------------------------------------------------------

enum class RecordFor { Reader, Fingerprint };

// The values, given or by default, of the options that decide pixels.
nlohmann::ordered_json SettingsRecord(const OptionList& options, const Parts& parts, RecordFor use);

// All options, for `vx list options`.
nlohmann::ordered_json DescribeOptions(const std::string& verb, const OptionList& options);

}  // namespace vxcli
