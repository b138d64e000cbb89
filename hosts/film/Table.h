#pragma once

#include <string>

#include "film/StoredFormat.h"

namespace film {

/// Rows as comma-separated values, as spreadsheets read them (RFC 4180, with line feeds): objects below a line of their
/// columns' names, arrays without one. Fails, naming the file `from`, where there are no rows.
std::string CommaSeparated(const Description& rows, const std::string& from);

}  // namespace film
