#pragma once

// The page of `tavrel serve`, compiled into the tool from web/ (see
// web/embed.cmake), so that the server needs no file beside it and no network.
namespace tavrel::web {

extern const char* const kIndex;  ///< web/index.html
extern const char* const kScript; ///< web/app.js
extern const char* const kStyle;  ///< web/style.css

} // namespace tavrel::web
