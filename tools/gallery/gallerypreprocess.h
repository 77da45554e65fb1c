#pragma once

#include <QString>

// Pictures of the preprocessing dialog over a freshly downloaded simulated study, made in a
// store of its own under `root`: as it opens, and with the user's supraventricular rule, a
// renamed and inverted lead and a trim longer than the recording. Throws with a message.
void galleryPreprocess(const QString& outDir, const QString& root);
