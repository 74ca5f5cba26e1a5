// JSON as the verbs write it.
#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace vellmark {

/// The value over several lines, each behind `indent` blanks but the first, without a line end.
/// Bytes that are no UTF-8 become U+FFFD; characters that cannot be seen are escaped, so that they
/// do nothing to a terminal and mean the same to a reader.
[[nodiscard]] std::string JsonText(const nlohmann::ordered_json& value, unsigned indent = 0);

}  // namespace vellmark
