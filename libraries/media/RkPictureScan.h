#pragma once

#include <string>

#include "libraries/media/CRkPictureTimeline.h"

// Finds out when the pictures of a file are shown, and how many it says it has: what a truncated file
// has lost still counts. `firstDecoded` is the timestamp of the first picture that a decoder gave.
//
// Containers of the mov family have an index of every picture at hand; other files are read through once.
bool RkScanPictures(const std::string& path, int64_t firstDecoded, CRkPictureTimeline* timeline,
                    std::string& reason);
