#include "host/SoundTap.h"

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

CRkRef<IRkAudioDirectSound> SoundTap::_Renderer() const {
  CRkScopedLock lock(m_lock);
  return m_renderer;
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
  if (m_file) m_file->Append(data, bytes / m_blockAlign);
}

}  // namespace rkplay
