#pragma once

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "film/FrameIndex.h"

namespace film {

/// The index as it stands in an effect document.
nlohmann::json TextOf(const FrameIndex& index);

/// The index that a document holds, or null where it holds none or one that can't be right.
std::shared_ptr<const FrameIndex> FrameIndexOf(const nlohmann::json& text);

/// Whole numbers as one line: single spaces between them, and `number*times` for one that stands there several times
/// running.
std::string ColumnText(const std::vector<std::int64_t>& numbers);

/// The reverse; false unless the text holds exactly `count` numbers.
bool ReadColumn(const std::string& text, std::size_t count, std::vector<std::int64_t>* numbers);

}  // namespace film
