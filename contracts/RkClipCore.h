#pragma once

#include "contracts/IRkUnknown.h"
#include "contracts/RkHostVector.h"
#include "contracts/RkMediaRecords.h"

#if defined(RkClipCore_EXPORTS)
#define RK_CLIP_CORE_API RK_EXPORT
#else
#define RK_CLIP_CORE_API RK_IMPORT
#endif

class IRkAVPlaySample;
class IRkPlayBufferPool;

// Clip elements, lists of them, and trim information. Operations with a body are those that the module
// does not call; two of a clip element's carry its start on the list's timeline.

// Which source positions of a clip are presented. Any thread may enter.
class IRkClipTrimInfo : public IRkUnknown {
 public:
  // The positions p with in <= p < out.
  struct SRkTrimInOut {
    ULONGLONG in;
    ULONGLONG out;
  };

  using Ranges = RkHostVector<SRkTrimInOut>;

  virtual IRkClipTrimInfo* Clone() = 0;  // one reference for the caller
  virtual void CopyFrom(IRkClipTrimInfo* source) = 0;
  // Appends all ranges, ascending, to the caller's empty array.
  virtual void GetTrimInOuts(Ranges& ranges) = 0;
};

static_assert(sizeof(IRkClipTrimInfo::SRkTrimInOut) == 16);
static_assert(offsetof(IRkClipTrimInfo::SRkTrimInOut, in) == 0);
static_assert(offsetof(IRkClipTrimInfo::SRkTrimInOut, out) == 8);

// `ranges` may be empty (nothing is trimmed). 0 unless they ascend without overlap, each in <= out.
RK_CLIP_CORE_API int RkCreateClipTrimInfo(const IRkClipTrimInfo::Ranges& ranges, IRkClipTrimInfo** info);

// One clip. One thread at a time opens, reads and closes it; GetFrameCount, GetLastPosition, the mode,
// the trim information and the timeline start may be used by any thread meanwhile.
//
// While it holds trim information with ranges, it presents only the samples inside them, in order, as
// one row of positions counted from 0; otherwise all of them. Offsets count what is presented. A sample's
// position is its offset plus the element's start on the list's timeline.
class IRkClipElement : public IRkUnknown {
 public:
  // Prepares reading in the format; picture memory comes from the pool (null: from the element itself).
  // 0 when the clip cannot be read so.
  virtual BOOL Open(IRkPlayBufferPool* pool, UINT reserved, const SRkClipFormat* format) = 0;
  virtual BOOL ReadNextSample(IRkAVPlaySample** sample) = 0;  // 0 at the end
  // The sample at offset; the next ReadNextSample gives the one after it.
  virtual BOOL ReadSampleAt(UINT offset, IRkAVPlaySample** sample) = 0;
  virtual void SeekTo(UINT offset) = 0;  // the next ReadNextSample gives the sample at offset
  virtual UINT GetLastPosition() = 0;    // the position that the last sample carries
  virtual void Close() = 0;              // may be opened again
  // A list calls this each time it hands the element out, on the thread that gets it: the element begins
  // at `position` there. Several lists may hold the element. Open, on the same thread, takes over the start
  // from the list that handed the element out just before, and keeps it until Close; the start is 0 when
  // the thread has got another element since, or has called SetTrimInfo. Calls on other threads change
  // nothing. The module never calls these two.
  virtual void SetTimelineStart(UINT position) { (void)position; }
  virtual UINT GetTimelineStart() { return 0; }  // of the open element
  // kRkNoPosition: unlimited, such as a live source. It ends when ReadNextSample says so.
  virtual UINT GetFrameCount() = 0;
  // A setting that the host chooses; `changed` (may be null) receives non-zero if it was another.
  virtual void SetMode(UINT mode, BOOL* changed) = 0;
  virtual UINT GetMode() = 0;
  virtual void GetTrimInfo(IRkClipTrimInfo** info) = 0;  // null when it has none
  virtual void SetTrimInfo(IRkClipTrimInfo* info) = 0;   // null lifts the restriction
};

// Elements laid end to end on one timeline. Any thread may enter: the list's own lock guards it, and it
// may be edited while a worker walks it. An element may be in it once.
class IRkClipElementList : public IRkUnknown {
 public:
  virtual int GetCount() = 0;
  // Frames on the timeline; kRkNoPosition with an unlimited element.
  virtual UINT GetTotalFrameCount() = 0;
  // FALSE for a null element, one that is in the list already, an index above the count, or frames that
  // have no room below kRkNoPosition. An unlimited element has room only as the last, and nothing behind it.
  virtual BOOL InsertElement(UINT index, IRkClipElement* element) = 0;
  virtual void Operation4() {}
  virtual BOOL RemoveElement(UINT index) = 0;  // FALSE for an index at or above the count
  virtual void RemoveAll() = 0;
  virtual void Operation7() {}
  virtual int IndexOf(IRkClipElement* element) = 0;  // -1 when it is not in the list
  // FALSE, with null, for a position at or past the total. `offset` may be null.
  virtual BOOL FindElementAtPosition(UINT position, IRkClipElement** element, UINT* offset) = 0;
  virtual void GetFirstElement(IRkClipElement** element) = 0;  // null for an empty list
  // The element after `current`; null after the last, and when `current` is no longer in the list.
  virtual void GetNextElement(IRkClipElement* current, IRkClipElement** next) = 0;
};

RK_CLIP_CORE_API int RkCreateClipElementList(IRkClipElementList** list);

// Colour bars with the running frame number burnt in, and a tone whose phase goes on from one element of
// a list to the next. A count of kRkNoPosition makes an unlimited element; 0 for a count of 0.
RK_CLIP_CORE_API int RkCreatePatternClipElement(UINT frameCount, IRkClipElement** element);
