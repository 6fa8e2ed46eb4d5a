#pragma once

#include <string>

#include "libraries/media/CRkStreamDecoder.h"
#include "libraries/media/SRkMediaSource.h"

// Reads any picture of a stream by its number on the timeline. Decodes on when the picture is near, and
// otherwise from the key picture before it. One thread at a time.
//
//   m_shown   the last picture that was reached        (number m_shownNumber, -1: none)
//   m_ahead   the one decoded after it, if it already is (number m_aheadNumber, -1: none)
class CRkPictureReader {
 public:
  struct SRkPicture {
    const AVFrame* frame;  // null before the first good one; valid until the next call
    int64_t number;        // of the picture that `frame` is
    // Null when it is the picture that was asked for, undamaged. Otherwise the reason why it is an earlier
    // one, or in part what its decoder made up.
    const char* damage;
  };

  // The source must outlive the reader.
  bool Open(const SRkMediaSource& source, std::string& reason);
  SRkPicture Read(int64_t number);

 private:
  void _Locate(int64_t number);
  int64_t _LastReadable(int64_t number);
  bool _Advance(int64_t number);
  bool _DecodeAhead();
  void _Forget();

  CRkStreamDecoder m_decoder;
  const CRkPictureTimeline* m_timeline = nullptr;
  CRkAv<AVFrame> m_shown{av_frame_alloc()};
  CRkAv<AVFrame> m_ahead{av_frame_alloc()};
  int64_t m_shownNumber = -1;
  int64_t m_aheadNumber = -1;
  int64_t m_nextCounted = 0;  // the next picture's number where only counting gives it
  // After a seek, pictures before this one refer to pictures that were not decoded.
  int64_t m_firstWhole = 0;
  // The file gives no picture from this one on; the last it gives is m_lastGood (-1: none).
  int64_t m_noneFrom = INT64_MAX;
  int64_t m_lastGood = -1;
};
