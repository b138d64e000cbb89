#pragma once

#include <string>
#include <vector>

namespace Vorn {

/// The text after the last "." of `name`, without the dot; empty if there is no dot or nothing follows it.
std::string GetExtension(const char* name);

/// `text` with each byte lower-cased by the C library's rule for the current locale.
std::string ToLower(std::string text);

/// Empties `out`, fills it with the pieces of `s` between delimiters, and returns it. Neighbouring delimiters give an
/// empty piece; a trailing one gives no empty last piece, and the empty text gives none.
std::vector<std::string>& split(const std::string& s, char delimiter, std::vector<std::string>& out);

/// Puts `index` in front of the last "." of `name`, zero-filled to `digits` places, or plain if `digits` is negative:
/// "frame.tif", 12, 4 gives "frame0012.tif". A name without a dot, or with its only dot in front, has nothing to fit
/// the number to and gets it plain at its end: "frame", 12, 4 gives "frame12".
std::string PrintIndexedFilename(const char* name, int index, int digits);

/// A size in bytes as a text for people: "1023 B", "1.50 KB", "2.00 MB", "3.25 GB".
std::string GetMemorySize(long bytes);

}  // namespace Vorn
