#pragma once

#include "contracts/RkClipCore.h"

#if defined(RkMedia_EXPORTS)
#define RK_MEDIA_API RK_EXPORT
#else
#define RK_MEDIA_API RK_IMPORT
#endif

// Clip elements that read media files. Not one of the module's kernel libraries: a host that wants real
// files links it beside them.

// Receives a report of each frame that a media element could not read, on the thread that reads, with no lock
// held. Must not call the element or its channel.
class IRkMediaReadSink : public IRkUnknown {
 public:
  // The frame at this offset was delivered with something else than the file should hold. A picture that
  // its decoder completed is shown so; a missing one is the last good picture, or black before the first.
  // Silence stands for damaged or missing sound. `reason` is borrowed for the call.
  virtual void OnFrameSubstituted(UINT offset, const char* reason) = 0;
};

struct SRkMediaDescription {
  SRkClipFormat format;  // the nearest format that needs no conversion; channels 0 without sound
  UINT frameCount;       // at format.video.frameRate
  BOOL hasVideo;
  BOOL hasAudio;
  int pictureBits;          // of one component; more than 8 are dithered to 8. 0 without pictures
  BOOL isHighDynamicRange;  // is tone-mapped to standard dynamic range
  BOOL isInterlaced;        // as its first picture is marked
  BOOL isStill;             // one picture, which an element shows for as long as its options say
  BOOL isSequence;          // numbered pictures: one for each frame, whatever the rate
  // "2 sound tracks not used: 2 (deu), 3": by number and language, cut to fit. Empty where all are used.
  char unusedSound[128];
  LONGLONG soundExcessMs;  // of sound after the end of the pictures; 0 or less where they last as long
};

// Whether pictures that hold two fields are made whole: by a deinterlacing filter, one picture for each of
// them, or one for each field where the output has twice their rate.
enum ERkDeinterlace : int {
  RkDeinterlace_Auto = 0,  // pictures that are marked as interlaced
  RkDeinterlace_Off = 1,
  RkDeinterlace_On = 2,  // all pictures
};

// How a picture of another shape than the output's is placed in it.
enum ERkFit : int {
  RkFit_Bars = 0,     // whole and undistorted, between black bars
  RkFit_Fill = 1,     // undistorted, cropped to fill the output
  RkFit_Stretch = 2,  // whole, distorted to fill the output
};

// What a media element does beyond reading. Elements take a null pointer for the defaults, which are all 0.
struct SRkMediaOptions {
  DWORD size;        // sizeof(SRkMediaOptions): tells the fields that the caller knows
  int fit;           // an ERkFit
  int deinterlace;   // an ERkDeinterlace
  UINT stillFrames;  // how long a still is shown; 0: kRkStillSeconds
  // The sound tracks to play: "all", numbers from 1 on ("1", "1+2"), or a language tag ("eng"). Their
  // channels lie side by side in this order. Null or empty: mono tracks of the same codec, rate and language
  // are the channels of one clip; of others the best is played. Counts when a file is examined, and is
  // borrowed for the call.
  const char* audioTracks;
  BOOL holdPicture;  // sound that outlasts the pictures is played under the last one; else it is cut
};

inline constexpr UINT kRkStillSeconds = 10;

// Why a file was refused, in a few words: UTF-8, ends with a zero, cut to fit.
struct SRkMediaReason {
  char text[256];
};

// A media file that has been examined: the elements that are made of it do not examine it again. It keeps no
// file open and never changes. Any thread may call.
class IRkMediaFile : public IRkUnknown {
 public:
  virtual void GetDescription(SRkMediaDescription* description) = 0;
  // As RkCreateMediaClipElement. Does not read the file.
  virtual BOOL CreateElement(int frameRate, const SRkMediaOptions* options, IRkMediaReadSink* sink,
                             IRkClipElement** element, SRkMediaReason* reason) = 0;
};

// All block while they read the file. 0 when it cannot be read or played: `reason` (may be null) then says
// why, and the other out-parameter is as it was. Otherwise 1, and `reason` is as it was. Any thread may call.
// `path` names a file, or a sequence of pictures by a name with one %d or %0Nd where their numbers are.

// Opens the file once and reads it through where it has no index. `options` (may be null) are those of the
// elements to be made.
RK_MEDIA_API int RkExamineMedia(const char* path, const SRkMediaOptions* options, IRkMediaFile** file,
                                SRkMediaReason* reason);

// RkExamineMedia for those who need nothing but the description.
RK_MEDIA_API int RkDescribeMedia(const char* path, SRkMediaDescription* description, SRkMediaReason* reason);

// RkExamineMedia for a single element of the file at `frameRate` (an ERkFrameRate), which fixes its frame
// count: it is opened only with formats of that rate. Options and sink may be null; the element holds a
// reference to the sink.
RK_MEDIA_API int RkCreateMediaClipElement(const char* path, int frameRate, const SRkMediaOptions* options,
                                          IRkMediaReadSink* sink, IRkClipElement** element,
                                          SRkMediaReason* reason);
