#pragma once

#include <string>

namespace Commons {
namespace Encoding {

/// How a narrow path text is to be read. The template database always passes Utf8.
enum Mode { Native = 0, Utf8 = 1 };

/// The narrow path as wide characters (decoded as UTF-8 in mode Utf8).
std::wstring Transcode(const std::string& text, Mode mode);

} // namespace Encoding
} // namespace Commons
