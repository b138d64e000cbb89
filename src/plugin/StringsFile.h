#pragma once

#include <istream>
#include <map>
#include <string>

/// Texts by key, as a strings file of the bundle holds them.
using LocalisedStrings = std::map<std::string, std::string>;

/// Reads `"key" = "text";` entries in UTF-8, with /* ... */ and // comments between them and the escapes \" \\ \n \t.
/// Reading ends at the first thing that is no entry; what stood before it is kept, and `complete` tells whether the
/// whole file was read. A key that stands twice keeps its last text.
LocalisedStrings ReadStringsFile(std::istream& in, bool* complete = nullptr);
