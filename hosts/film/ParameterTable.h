#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "film/ParameterStore.h"

// The effect's parameters, for people and for programs.
namespace film {

/// The parameter table. `keys` holds the same parameters with localisation keys in place of texts.
nlohmann::ordered_json DescribeParameters(const ParameterStore& parameters, const ParameterStore& keys);
/// As the effect declares it, in the user's language.
nlohmann::ordered_json DescribeDeclaredParameters();
std::string TableOf(const nlohmann::ordered_json& parameters);

}  // namespace film
