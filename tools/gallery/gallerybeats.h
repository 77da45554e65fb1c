#pragma once

#include <QString>

class GalleryStudy;

// Pictures of the beat displays over the processed gallery study: "beat_display_*.png" (the
// running average with its markers), "beat_class_grid_*.png" (the classes of a type, one
// selected), "beat_grid_*.png" (the beats of a selected class) and "beat_overlap_*.png".
// Prints each path; returns how many were written, and throws with a message.
int writeBeatPictures(const QString& outDir, GalleryStudy& study);
