#include "rkplay/monitor/SoundTap.h"

namespace rkplay {

SoundTap::SoundTap(const std::string& path, const SRkWaveFormatInfo& format)
    : m_blockAlign(format.blockAlign) {
  if (!path.empty()) m_file.emplace(path, format);
}

std::optional<double> SoundTap::PositionMs() const {
  const auto renderer = _Renderer();
  if (!renderer) return std::nullopt;
  double positionMs = 0;
  renderer->GetPlayPosition(&positionMs);
  return positionMs;
}

double SoundTap::SpanMs() const {
  const auto renderer = _Renderer();
  return renderer ? renderer->GetBufferDuration() : 0;
}

bool SoundTap::HasRenderer() const {
  return static_cast<bool>(_Renderer());
}

bool SoundTap::IsLost() const {
  const auto renderer = _Renderer();
  return renderer && renderer->IsLost();
}

void SoundTap::AddTo(Presentation& seen) const {
  const auto renderer = _Renderer();
  if (!renderer) return;
  seen.droppedSound += renderer->GetDroppedSampleCount();
  seen.soundLosses += renderer->GetLossCount();
}

CRkRef<IRkAudioDirectSound> SoundTap::_Renderer() const {
  CRkScopedLock lock(m_lock);
  return m_renderer;
}

void SoundTap::RunBegins() {
  CRkScopedLock lock(m_lock);
  m_written = m_soundEnd = m_heard = 0;
  m_beyond.clear();
}

void SoundTap::SoundWritten(DWORD bytes, bool isSilence) {
  CRkScopedLock lock(m_lock);
  m_written += bytes;
  if (isSilence) return;
  m_soundEnd = m_written;
  if (m_file) _WriteHeard();
}

void SoundTap::Close(std::vector<std::string>& errors) {
  CRkRef<IRkAudioDirectSound> renderer;
  CRkScopedLock lock(m_lock);
  std::swap(renderer, m_renderer);
  if (m_file && !m_file->Close()) errors.push_back(m_file->Error());
  m_file.reset();
}

void SoundTap::OnRenderer(IRkAudioDirectSound* renderer, const SRkWaveFormatInfo& format) {
  (void)format;
  CRkScopedLock lock(m_lock);
  m_renderer = CRkRef<IRkAudioDirectSound>::Retain(renderer);
}

void SoundTap::OnSound(const BYTE* data, DWORD bytes) {
  CRkScopedLock lock(m_lock);
  if (!m_file) return;
  m_heard += bytes;
  m_beyond.insert(m_beyond.end(), data, data + bytes);
  _WriteHeard();
}

void SoundTap::_WriteHeard() {
  const ULONGLONG beyond = m_heard > m_soundEnd ? m_heard - m_soundEnd : 0;
  if (beyond >= m_beyond.size()) return;
  const size_t known = m_beyond.size() - static_cast<size_t>(beyond);
  m_file->Append(m_beyond.data(), static_cast<DWORD>(known / m_blockAlign));
  m_beyond.erase(m_beyond.begin(), m_beyond.begin() + static_cast<std::ptrdiff_t>(known));
}

}  // namespace rkplay
