#include "libraries/kernel/audio/windows/CRkDirectSoundStream.h"

#include <algorithm>
#include <array>

bool CRkDirectSoundStream::Open(const SRkWaveFormatInfo& format, HWND window, HANDLE period) {
  m_periodBytes = std::max<DWORD>(format.samplesPerSecond / kPeriodsPerSecond, 1) * format.blockAlign;
  m_silence = format.bitsPerSample == 8 ? 0x80 : 0;
  if (FAILED(DirectSoundCreate8(nullptr, m_device.Out(), nullptr))) return false;
  const HWND owner = window != nullptr ? window : GetDesktopWindow();
  if (FAILED(m_device->SetCooperativeLevel(owner, DSSCL_PRIORITY))) return false;

  WAVEFORMATEX wave = {};
  wave.wFormatTag = WAVE_FORMAT_PCM;
  wave.nChannels = static_cast<WORD>(format.channels);
  wave.nSamplesPerSec = format.samplesPerSecond;
  wave.nAvgBytesPerSec = format.bytesPerSecond;
  wave.nBlockAlign = format.blockAlign;
  wave.wBitsPerSample = format.bitsPerSample;
  DSBUFFERDESC description = {};
  description.dwSize = sizeof(description);
  description.dwFlags = DSBCAPS_CTRLPOSITIONNOTIFY | DSBCAPS_GETCURRENTPOSITION2 | DSBCAPS_GLOBALFOCUS;
  description.dwBufferBytes = _BufferBytes();
  description.lpwfxFormat = &wave;
  if (FAILED(m_device->CreateSoundBuffer(&description, m_buffer.Out(), nullptr))) return false;
  return _NotifyEachPeriod(period);
}

bool CRkDirectSoundStream::_NotifyEachPeriod(HANDLE period) {
  CRkComRef<IDirectSoundNotify> notify;
  if (FAILED(m_buffer->QueryInterface(IID_IDirectSoundNotify, reinterpret_cast<void**>(notify.Out()))))
    return false;
  std::array<DSBPOSITIONNOTIFY, kBufferPeriods> positions = {};
  for (DWORD i = 0; i < kBufferPeriods; ++i) positions[i] = {i * m_periodBytes, period};
  return SUCCEEDED(notify->SetNotificationPositions(kBufferPeriods, positions.data()));
}

bool CRkDirectSoundStream::Play() {
  m_cursor = 0;
  m_played = 0;
  m_written = LatencyBytes();  // silence, so that every period finds the same lead
  HRESULT result = m_buffer->Restore();
  if (SUCCEEDED(result)) {
    _Put(0, nullptr, _BufferBytes());
    result = m_buffer->SetCurrentPosition(0);
  }
  if (SUCCEEDED(result)) result = m_buffer->Play(0, 0, DSBPLAY_LOOPING);
  m_playing = SUCCEEDED(result);
  return m_playing || result == DSERR_BUFFERLOST;
}

void CRkDirectSoundStream::Stop() {
  m_buffer->Stop();
  m_playing = false;
}

bool CRkDirectSoundStream::Follow() {
  if (!m_playing) return true;
  DWORD status = 0;
  DWORD cursor = 0;
  DWORD writeCursor = 0;
  if (FAILED(m_buffer->GetStatus(&status))) return false;
  if ((status & DSBSTATUS_BUFFERLOST) != 0) {
    m_playing = false;
    return true;
  }
  if (FAILED(m_buffer->GetCurrentPosition(&cursor, &writeCursor))) return false;
  const DWORD passed = (cursor + _BufferBytes() - m_cursor) % _BufferBytes();
  _Put(m_played, nullptr, passed);
  m_cursor = cursor;
  m_played += passed;
  // The system already has what lies before the write cursor. A thread that came too late for it goes on with
  // the lead it had, and silence is heard meanwhile.
  const DWORD taken = (writeCursor + _BufferBytes() - cursor) % _BufferBytes();
  if (m_written < m_played + taken) m_written = m_played + std::max(taken, LatencyBytes());
  return true;
}

void CRkDirectSoundStream::WritePeriod(const BYTE* data) {
  if (data != nullptr) _Put(m_written, data, m_periodBytes);
  m_written += m_periodBytes;
}

// Null writes silence. A buffer that cannot be locked takes nothing; Follow finds out why.
void CRkDirectSoundStream::_Put(ULONGLONG position, const BYTE* data, DWORD bytes) {
  if (bytes == 0) return;
  void* parts[2] = {};
  DWORD sizes[2] = {};
  const auto offset = static_cast<DWORD>(position % _BufferBytes());
  if (FAILED(m_buffer->Lock(offset, bytes, &parts[0], &sizes[0], &parts[1], &sizes[1], 0))) return;
  for (int i = 0; i < 2; ++i) {
    auto* const target = static_cast<BYTE*>(parts[i]);
    if (data == nullptr) {
      std::fill_n(target, sizes[i], m_silence);
    } else {
      std::copy_n(data, sizes[i], target);
      data += sizes[i];
    }
  }
  m_buffer->Unlock(parts[0], sizes[0], parts[1], sizes[1]);
}
