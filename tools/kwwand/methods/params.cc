// SPDX-License-Identifier: Apache-2.0
#include "kwwand/methods/params.h"

#include <algorithm>

#include "shared/suggestions.h"

namespace kor::host {

namespace {

constexpr size_t kShownValue = 40;  // Bytes of a wrong value that its error repeats.

std::string Shown(const Json& value) {
  std::string text = value.dump(-1, ' ', false, Json::error_handler_t::replace);
  if (text.size() <= kShownValue) return text;
  size_t end = kShownValue;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xc0) == 0x80) --end;  // Not inside a character.
  return text.substr(0, end) + "...";
}

RequestError Wrong(const std::string& name, const std::string& problem, const std::string& takes,
                   const std::optional<std::string>& nearest) {
  Json data{{"argument", name}, {"takes", takes}};
  if (nearest) data["nearest"] = *nearest;
  return {kInvalidParams, name + ": " + problem, data};
}

}  // namespace

Params::Params(const Request& request, std::initializer_list<const char*> members) : params_(request.params) {
  const std::vector<std::string> names(members.begin(), members.end());
  for (const auto& [name, value] : params_.items()) {
    if (std::find(names.begin(), names.end(), name) != names.end()) continue;
    const std::string shown = Shown(name);
    const std::string takes = names.empty() ? "no params" : kor::tools::Listed(names);
    const auto nearest = kor::tools::Nearest(name, names);
    std::string problem = "unknown; takes " + takes;
    if (nearest) problem += "; did you mean " + *nearest + "?";
    throw Wrong(shown.substr(1, shown.size() - 2), problem, takes, nearest);
  }
}

const Json* Params::Find(const std::string& name) const {
  const auto found = params_.find(name);
  return found == params_.end() || found->is_null() ? nullptr : &*found;
}

const Json& Params::Get(const char* name, const std::string& takes) const {
  const Json* const value = Find(name);
  if (value == nullptr) throw Wrong(name, "is missing, takes " + takes, takes, std::nullopt);
  return *value;
}

void Params::Refuse(const std::string& name, const std::string& takes,
                    const std::optional<std::string>& nearest) const {
  const Json* const value = Find(name);
  const std::string problem =
      value == nullptr ? "is missing, takes " + takes : "takes " + takes + ", not " + Shown(*value);
  throw Wrong(name, problem, takes, nearest);
}

int Params::Number(const char* name, int min, int max) const {
  const std::string takes = "a number from " + std::to_string(min) + " to " + std::to_string(max);
  const Json& value = Get(name, takes);
  // Above every int64_t get() would wrap the number around.
  const bool folds = value.is_number_unsigned() && value.get<uint64_t>() > INT32_MAX;
  if (!value.is_number_integer() || folds) Refuse(name, takes);
  const auto number = value.get<int64_t>();
  if (number < min || number > max) Refuse(name, takes);
  return static_cast<int>(number);
}

int Params::Number(const char* name, int min, int max, int otherwise) const {
  return Has(name) ? Number(name, min, max) : otherwise;
}

bool Params::Switch(const char* name) const {
  const Json& value = Get(name, "true or false");
  if (!value.is_boolean()) Refuse(name, "true or false");
  return value.get<bool>();
}

bool Params::Switch(const char* name, bool otherwise) const { return Has(name) ? Switch(name) : otherwise; }

std::string Params::Text(const char* name, size_t max_size) const {
  const std::string takes = "a text of at most " + std::to_string(max_size) + " bytes";
  const Json& value = Get(name, takes);
  if (!value.is_string()) Refuse(name, takes);
  const auto& text = value.get_ref<const std::string&>();
  if (text.size() > max_size || text.find('\0') != std::string::npos) Refuse(name, takes);
  return text;
}

std::string Params::Text(const char* name, size_t max_size, const std::string& otherwise) const {
  return Has(name) ? Text(name, max_size) : otherwise;
}

std::string Params::Secret(const char* name, size_t min_size, size_t max_size, const char* takes) const {
  const Json& value = Get(name, takes);
  const std::string* const text = value.is_string() ? &value.get_ref<const std::string&>() : nullptr;
  if (text == nullptr || text->size() < min_size || text->size() > max_size || text->find('\0') != std::string::npos) {
    throw Wrong(name, std::string("takes ") + takes, takes, std::nullopt);
  }
  return *text;
}

size_t Params::ChoiceOf(const char* name, const std::vector<std::string>& texts) const {
  const std::string takes = kor::tools::Listed(texts);
  const Json& value = Get(name, takes);
  if (!value.is_string()) Refuse(name, takes);
  const auto& text = value.get_ref<const std::string&>();
  const auto found = std::find(texts.begin(), texts.end(), text);
  if (found == texts.end()) Refuse(name, takes, kor::tools::Nearest(text, texts));
  return static_cast<size_t>(found - texts.begin());
}

kor::wwan::Tech Params::Technology(const char* name) const {
  const char kTakes[] = "any, or umts, lte and nr5g joined with +";
  const Json& value = Get(name, kTakes);
  if (!value.is_string()) Refuse(name, kTakes);
  const auto& text = value.get_ref<const std::string&>();
  const auto technology = ParseTechnology(text);
  if (!technology) Refuse(name, kTakes, kor::tools::Nearest(text, {"any", "umts", "lte", "nr5g"}));
  return *technology;
}

}  // namespace kor::host
