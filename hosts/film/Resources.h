#pragma once

#include <string>

namespace film {

/// The effect's strings file for a language ("en", "de", "fr"), built into the program; empty where there is none.
std::string StringsFileFor(const std::string& language);

}  // namespace film
