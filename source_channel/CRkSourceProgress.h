#pragma once

#include <atomic>
#include <optional>

#include "base/CRkCriticalSection.h"
#include "source_channel/IRkClipSourceChannel.h"

// The tag that travels with each sample through the cache.
struct SRkSampleTag {
  bool endOfList = false;    // the last sample of a pass
  bool nothingMore = false;  // set with endOfList: no further pass can give a sample
  bool whilePaused = false;  // requested while paused: showing it plays nothing
  bool oddPass = false;      // alternates from pass to pass
  UINT epoch = 0;            // see CRkSourceProgress

  LONG Pack() const;
  static SRkSampleTag Unpack(LONG tag);
};

// How far a source channel has played: start, passes, position, status and epoch.
//
// Passes are counted as their last samples are delivered, because the worker may be several passes ahead of
// the consumer. Each Play and each Stop opens an epoch; samples carry theirs, so those that an earlier
// epoch left behind are never delivered.
//
// Threads: the control thread begins and stops, the consumer delivers, the worker ends passes. The lock
// guards everything but position and status, which any thread reads without it. Nothing is called under it.
class CRkSourceProgress {
 public:
  struct SStart {
    UINT position;
    UINT epoch;
  };

  UINT Status() const { return m_status; }
  UINT Position() const { return m_position; }
  SStart Start() const;

  void Begin(UINT startPosition, int passes);
  // Samples that are queued or on their way are not delivered any more.
  void LeaveEpoch();
  void Stop();
  // kRkRepeatEndless, or at least 1.
  void SetRepeatCount(int passes);

  // Records a sample as taken; false for one of an earlier epoch.
  bool Deliver(UINT position, const SRkSampleTag& tag);
  // Ends a pass whose last sample has left the cache without its endOfList flag; `tag` is what that sample
  // would carry. True when this stopped the play.
  bool EndPass(const SRkSampleTag& tag);

 private:
  void _CountPass(bool nothingMore) RK_REQUIRES(m_lock);
  bool _IsOver() const RK_REQUIRES(m_lock);

  std::atomic<UINT> m_status = RkSourceChannel_Constructed;
  std::atomic<UINT> m_position = 0;  // of the sample taken last

  mutable CRkCriticalSection m_lock;
  UINT m_startPosition RK_GUARDED_BY(m_lock) = 0;
  UINT m_epoch RK_GUARDED_BY(m_lock) = 0;
  int m_repeatCount RK_GUARDED_BY(m_lock) = 1;
  int m_passes RK_GUARDED_BY(m_lock) = 0;  // delivered; at most the repeat count
  // The pass (odd or even) that EndPass ended last: its last sample may still be on its way to Deliver.
  std::optional<bool> m_endedPass RK_GUARDED_BY(m_lock);
};
