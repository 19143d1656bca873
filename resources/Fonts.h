#pragma once

// Registers the embedded "Archivo Black" font for the process. Call once at start-up, after the
// application object exists. Returns whether the font is available.
bool registerBrandFont();
