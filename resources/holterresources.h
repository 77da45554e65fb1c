#pragma once

// Registers the compiled-in icons and style sheets. The resources live in a static library,
// whose registration code the linker would otherwise drop. Safe to call more than once.
void initHolterResources();
