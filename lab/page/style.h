#pragma once

namespace page {

/// The style sheet of all pages: light and dark, on a screen and on A4, without a meaning by colour alone.
extern const char *const style;

} // namespace page
