#pragma once

#include <string>

#include "libraries/media/RkAv.h"

// How luma and chroma make up red, green and blue.
enum ERkColorMatrix : int {
  RkColorMatrix_BT601 = 0,
  RkColorMatrix_BT709 = 1,
  RkColorMatrix_BT2020 = 2,
  RkColorMatrix_SMPTE240M = 3,
  RkColorMatrix_FCC = 4,
};

// What the samples of a picture mean as light.
enum class ERkLight { Standard, WideGamut, Pq, Hlg };

// Everything of a decoded picture that decides how it is converted.
struct SRkPictureKind {
  int width = 0;  // as stored, before the turn
  int height = 0;
  AVPixelFormat pixelFormat = AV_PIX_FMT_NONE;  // without the range that some names imply
  int aspectWidth = 0;                          // of one pixel; 0:0 where it is not known
  int aspectHeight = 0;
  bool fullRange = false;
  ERkColorMatrix matrix = RkColorMatrix_BT601;  // unused for RGB
  ERkLight light = ERkLight::Standard;
  // The display matrix: the axes are exchanged first, then mirrored.
  bool exchangeAxes = false;
  bool mirrorX = false;
  bool mirrorY = false;

  bool operator==(const SRkPictureKind&) const = default;

  int ShownWidth() const { return exchangeAxes ? height : width; }
  int ShownHeight() const { return exchangeAxes ? width : height; }
  bool IsTurned() const { return exchangeAxes || mirrorX || mirrorY; }
};

// The kind of a picture that RkCompletePicture has been through.
SRkPictureKind RkKindOf(const AVFrame& picture);

// Adds to a decoded picture what only its container states: pixel aspect and display matrix.
void RkCompletePicture(AVFormatContext* format, AVStream* stream, AVFrame* picture);

// Empty, or the reason why pictures like this one cannot be converted correctly.
std::string RkWhyNotConvertible(const AVFrame& picture);

// The matrix of every delivered picture, and of stored ones that state none: it follows from the size.
ERkColorMatrix RkCustomMatrix(int height);

bool RkIsRgb(AVPixelFormat format);
bool RkHasAlpha(AVPixelFormat format);
int RkBitDepth(AVPixelFormat format);  // of its deepest component
