// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "Options.h"

#include <algorithm>
#include <charconv>
#include <nlohmann/json.hpp>

#include "Console.h"

namespace vxcli {

namespace {

using Json = nlohmann::ordered_json;

// Returns true if the text begins like a number, so that it is not an option. This includes nan and
// inf, which the parser of the value rejects.
bool LooksLikeNumbers(const std::string& text) {
  const size_t first = std::min(text.find_first_not_of("+-"), text.size());
  return text.find_first_of(".0123456789", first) == first || text.compare(first, 3, "nan") == 0 ||
         text.compare(first, 3, "inf") == 0;
}

// Appends the following arguments to `*text`, with commas, until it has `count` numbers. `*at` is
// the index of the last argument that was read.
void AppendNumbers(size_t count, const std::vector<std::string>& arguments, size_t* at,
                   std::string* text) {
  const auto numbers = [&] {
    const auto commas = static_cast<size_t>(std::count(text->begin(), text->end(), ','));
    return text->ends_with(',') ? commas : commas + 1;
  };
  while (numbers() < count && *at + 1 < arguments.size() && LooksLikeNumbers(arguments[*at + 1])) {
    if (!text->ends_with(',')) *text += ',';
    *text += arguments[++*at];
  }
}

// Returns the value of the option arguments[*at], from "--name=value" or from the next argument.
std::string ReadValue(const Option& option, const std::vector<std::string>& arguments, size_t* at) {
  const std::string& argument = arguments[*at];
  const size_t equals = argument.find('=');
  if (option.IsFlag()) {
    if (equals != std::string::npos) throw UsageError(option.name + ": takes no value");
    return {};
  }
  std::string text;
  if (equals != std::string::npos) {
    text = argument.substr(equals + 1);
  } else {
    const bool has_value = *at + 1 < arguments.size() &&
                           (!arguments[*at + 1].starts_with('-') || arguments[*at + 1] == "-" ||
                            LooksLikeNumbers(arguments[*at + 1]));
    if (!has_value) throw UsageError(option.name + ": needs a value after it");
    text = arguments[++*at];
  }
  if (option.value.count > 1) {
    AppendNumbers(static_cast<size_t>(option.value.count), arguments, at, &text);
  }
  return text;
}

Json ValueRecord(const Option& option, const std::string& text) {
  if (option.value.kind == Value::Number) {
    int64_t whole = 0;
    double number = 0;
    const char* end = text.data() + text.size();
    if (std::from_chars(text.data(), end, whole).ptr == end) return whole;
    if (std::from_chars(text.data(), end, number).ptr == end) return number;
  }
  return text;
}

void AddSettings(const OptionList& options, RecordFor use, Json* record) {
  for (const Option& option : options) {
    if (option.decides == Decides::Nothing) continue;
    const bool given = !option.given.empty();
    std::string key = option.LongName();
    key.erase(0, key.find_first_not_of('-'));
    if (option.IsFlag()) {
      (*record)[key] = given;
    } else if (use == RecordFor::Fingerprint && option.decides == Decides::Contents) {
      (*record)[key] = given;
    } else if (use == RecordFor::Fingerprint && given && option.identity) {
      (*record)[key] = option.identity();
    } else if (given || !option.fallback.empty()) {
      (*record)[key] = ValueRecord(option, given ? option.given[0] : option.fallback);
    }
  }
}

const char* DecidesName(Decides decides) {
  static const char* const names[] = {"value", "contents", "nothing"};
  return names[static_cast<int>(decides)];
}

}  // namespace

Value Flag(bool* to) {
  return {Value::Flag, [to](const std::string&, const std::string&) { *to = true; }, "", 0};
}

Value Text(std::string* to) {
  return Parsed(to, [](const std::string&, const std::string& text) { return text; });
}

Value SizeValue(std::optional<Size>* to) {
  return Parsed(to, [](const std::string& option, const std::string& text) {
    return ParseSize(option, text, /*least=*/1);
  });
}

Option DepthOption(int32_t* to, const std::string& help) {
  return Option{"--depth", "BITS", DepthValue(to, Keep::Allowed), help}.Default("keep");
}

Option QualityOption(vx::Quality* to, const std::string& help) {
  return Option{"--quality", "HOW", Choice(to, {"draft", "high"}), help}.Default("high");
}

std::string RangeText(double least, double largest) {
  if (largest < 1e30) return Plain(least) + " to " + Plain(largest);
  return least == 0 ? "0 or more" : "any";
}

std::string Option::HelpText() const {
  std::string text = help;
  const size_t range = text.find("%r");
  if (range != std::string::npos) text.replace(range, 2, value.range);
  const std::string missing = DefaultText();
  return missing.empty() ? text : text + " [" + missing + "]";
}

OptionList Join(std::vector<OptionList> lists) {
  OptionList all;
  for (OptionList& list : lists) std::move(list.begin(), list.end(), std::back_inserter(all));
  return all;
}

OptionList InGroup(const std::string& heading, OptionList options) {
  for (Option& option : options) option.group = heading;
  return options;
}

Option* Find(OptionList* options, const std::string& long_name) {
  const auto found = std::find_if(options->begin(), options->end(), [&](const Option& option) {
    return option.LongName() == long_name;
  });
  return found == options->end() ? nullptr : &*found;
}

void SetValues(OptionList* options) {
  for (const Option& option : *options) {
    for (const std::string& text : option.given) option.value.set(option.LongName(), text);
    const bool by_default = option.given.empty() && !option.fallback.empty();
    if (by_default) option.value.set(option.LongName(), option.fallback);
  }
}

void ExtractParts(Parts* parts, std::vector<std::string>* arguments) {
  if (parts->starter.empty()) return;
  const auto begin = [&] {
    parts->list.push_back(parts->add());
    SetValues(&parts->list.back());
  };
  if (parts->open) begin();
  std::vector<std::string> rest;
  for (size_t i = 0; i < arguments->size(); ++i) {
    const std::string name = (*arguments)[i].substr(0, (*arguments)[i].find('='));
    if (!Find(&parts->options, name)) {
      rest.push_back((*arguments)[i]);
      continue;
    }
    if (name == parts->starter) begin();
    if (parts->list.empty()) {
      throw UsageError(name + ": belongs to a " + parts->name + "; put it after a " +
                       parts->starter + " FILE");
    }
    Option* option = Find(&parts->list.back(), name);
    if (!option->given.empty()) {
      throw UsageError(name + ": is given twice; a " + parts->name + " takes it once");
    }
    option->given.push_back(ReadValue(*option, *arguments, &i));
    option->value.set(name, option->given.back());
  }
  *arguments = std::move(rest);
}

Json SettingsRecord(const OptionList& options, const Parts& parts, RecordFor use) {
  Json record = Json::object();
  AddSettings(options, use, &record);
  for (const OptionList& part : parts.list) {
    Json& entry = record[parts.name + "s"].emplace_back(Json::object());
    AddSettings(part, use, &entry);
  }
  return record;
}

Json DescribeOptions(const std::string& verb, const OptionList& options) {
  static const char* const kinds[] = {"flag", "number", "text"};
  Json rows = Json::array();
  for (const Option& option : options) {
    rows.push_back({{"verb", verb},
                    {"option", option.name},
                    {"value", option.metavar},
                    {"kind", kinds[option.value.kind]},
                    {"range", option.value.range},
                    {"default", option.DefaultText()},
                    {"required", option.required},
                    {"decides", DecidesName(option.decides)},
                    {"help", option.HelpText()}});
  }
  return rows;
}

}  // namespace vxcli
