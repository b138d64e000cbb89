#pragma once

#include <CLI/CLI.hpp>

#include "film/Arguments.h"

namespace film {

/// Adds the program's commands. The one that the user gives is put into `arguments->run`. Both are lent.
void AddCommands(CLI::App* app, Arguments* arguments);

}  // namespace film
