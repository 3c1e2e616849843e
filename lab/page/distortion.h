#pragma once

#include "page/html.h"

#include "accept/dialogue.h"

namespace page {

/// The map of distortion: every target, and joined to it the place where the board reports it, magnified.
void distortionMap(Html &html, const acceptance::Finding &targets, const acceptance::Setting &setting);

} // namespace page
