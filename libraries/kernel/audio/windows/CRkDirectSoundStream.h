#pragma once

#include "platform/RkPlatform.h"

#include <mmsystem.h>

#include <dsound.h>

#include "base/CRkRef.h"
#include "contracts/RkMediaRecords.h"

// Takes part in a COM object's count as long as it lives.
template <class T>
class CRkComRef {
 public:
  CRkComRef() = default;
  CRkComRef(const CRkComRef&) = delete;
  CRkComRef& operator=(const CRkComRef&) = delete;
  ~CRkComRef() {
    if (m_object != nullptr) m_object->Release();
  }

  T** Out() { return &m_object; }
  T* operator->() const { return m_object; }

 private:
  T* m_object = nullptr;
};

// The looping secondary buffer of one sound card, filled to a fixed lead before the play cursor. Counts bytes
// since the buffer began to play; the part that has been played is silent again, so that a thread that comes
// late plays silence and never old sound. One thread uses it; every call may block for as long as the sound
// system does.
class CRkDirectSoundStream {
 public:
  // False without a device or for a format that it cannot play. `period` is signalled about every 10 ms
  // while the buffer plays, and must outlive the stream.
  bool Open(const SRkWaveFormatInfo& format, HWND window, HANDLE period);

  // From the start of a silent buffer. False when the device is gone. A buffer that the system has taken away
  // does not play until the system gives it back to a later call.
  bool Play();
  void Stop();
  bool IsPlaying() const { return m_playing; }

  // Reads the play cursor and silences what was played. False when the device is gone; a buffer that was
  // taken away plays no longer.
  bool Follow();
  // Whether the lead has room for a period.
  bool IsPeriodDue() const { return m_playing && m_written + m_periodBytes <= m_played + _LeadBytes(); }
  // A period behind what was written; null for silence.
  void WritePeriod(const BYTE* data);
  ULONGLONG Written() const { return m_written; }
  ULONGLONG Played() const { return m_played; }

  DWORD PeriodBytes() const { return m_periodBytes; }
  // What lies ahead of a period when it is written.
  DWORD LatencyBytes() const { return _LeadBytes() - m_periodBytes; }

 private:
  static constexpr DWORD kPeriodsPerSecond = 100;
  static constexpr DWORD kLeadPeriods = 5;
  static constexpr DWORD kBufferPeriods = 100;

  DWORD _LeadBytes() const { return kLeadPeriods * m_periodBytes; }
  DWORD _BufferBytes() const { return kBufferPeriods * m_periodBytes; }
  bool _NotifyEachPeriod(HANDLE period);
  void _Put(ULONGLONG position, const BYTE* data, DWORD bytes);

  CRkComRef<IDirectSound8> m_device;
  CRkComRef<IDirectSoundBuffer> m_buffer;
  DWORD m_periodBytes = 0;
  BYTE m_silence = 0;
  bool m_playing = false;
  DWORD m_cursor = 0;       // the play cursor as last read
  ULONGLONG m_played = 0;   // bytes behind the play cursor
  ULONGLONG m_written = 0;  // never behind m_played
};
