#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "film/Effect.h"
#include "film/Session.h"

// What the program tells of an effect: for people and for programs.
namespace film {

/// How much the picture is enlarged with the settings in hand; 1 in modes that don't zoom. The effect has shown a
/// frame.
double ZoomOf(Effect& effect);

/// "2 holds, 1 move" of both axes, or "none".
std::string EventText(const Effect& effect);

/// The settings by their options' names.
nlohmann::ordered_json DescribeSettings(const ParameterStore& parameters);

/// All that is stored of a clip. The effect has shown a frame if it holds an analysis.
nlohmann::ordered_json DescribeEffect(Session& session);
/// The same as lines of text.
std::string TextOf(const nlohmann::ordered_json& description);

}  // namespace film
