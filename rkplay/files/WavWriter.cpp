#include "rkplay/files/WavWriter.h"

#include <algorithm>
#include <array>
#include <limits>

#include "base/CRkAudioLock.h"
#include "contracts/RkAVUtils.h"

namespace rkplay {
namespace {

constexpr DWORD kHeaderBytes = 44;

// Little-endian, as the records are laid out on the machines this runs on and in the file.
class HeaderBytes {
 public:
  void Tag(const char* tag) { _Put(tag, 4); }
  void Put32(DWORD value) { _Put(&value, sizeof(value)); }
  void Put16(WORD value) { _Put(&value, sizeof(value)); }
  const BYTE* Data() const { return m_bytes.data(); }

 private:
  void _Put(const void* data, size_t count) {
    std::copy_n(static_cast<const BYTE*>(data), count, m_bytes.begin() + m_used);
    m_used += static_cast<std::ptrdiff_t>(count);
  }

  std::array<BYTE, kHeaderBytes> m_bytes{};
  std::ptrdiff_t m_used = 0;
};

// The data chunk is padded to an even length, which its own size does not count.
HeaderBytes Header(const SRkWaveFormatInfo& format, DWORD dataBytes) {
  HeaderBytes header;
  header.Tag("RIFF");
  header.Put32(kHeaderBytes - 8 + dataBytes + dataBytes % 2);
  header.Tag("WAVE");
  header.Tag("fmt ");
  header.Put32(16);
  header.Put16(1);  // integer samples
  header.Put16(static_cast<WORD>(format.channels));
  header.Put32(format.samplesPerSecond);
  header.Put32(format.bytesPerSecond);
  header.Put16(format.blockAlign);
  header.Put16(format.bitsPerSample);
  header.Tag("data");
  header.Put32(dataBytes);
  return header;
}

}  // namespace

WavWriter::WavWriter(const std::string& path, const SRkWaveFormatInfo& format)
    : m_format(format), m_file(path) {
  m_file.Write(Header(m_format, 0).Data(), kHeaderBytes);
}

bool WavWriter::Write(IRkAVPlaySample& sample) {
  Blocks blocks;
  while (true) {
    CRkRef<IRkAudioSample> block;
    sample.GetAudioSample(static_cast<UINT>(blocks.size()), 0, block.Out());
    if (!block) break;
    blocks.push_back(std::move(block));
  }
  if (blocks.size() != 1) return _Interleave(blocks);
  SRkAudioSampleInfo info{};
  blocks.front()->GetInfo(&info);
  if (info.format.channels != m_format.channels || info.format.bitsPerSample != m_format.bitsPerSample) {
    return m_file.Fail("a frame came with sound of another format");
  }
  const CRkAudioLock audio(*blocks.front());
  return Append(audio.Data(), audio.SampleCount());
}

// Puts the channels of all blocks side by side.
bool WavWriter::_Interleave(const Blocks& blocks) {
  if (blocks.empty()) return m_file.Fail("a frame came without sound");
  const DWORD sampleCount = CRkAudioLock(*blocks.front()).SampleCount();
  m_interleaved.resize(static_cast<size_t>(sampleCount) * m_format.blockAlign);
  size_t offset = 0;  // of the block's first channel, in bytes
  for (const auto& block : blocks) {
    SRkAudioSampleInfo info{};
    block->GetInfo(&info);
    const CRkAudioLock audio(*block);
    const bool fits = offset + info.format.blockAlign <= m_format.blockAlign;
    if (!fits || audio.SampleCount() != sampleCount ||
        !RkAudioUtils::CopyAudioChannelSamples(info.format, audio.Data(), m_format,
                                               m_interleaved.data() + offset, sampleCount)) {
      return m_file.Fail("a frame came with sound of another format");
    }
    offset += info.format.blockAlign;
  }
  if (offset != m_format.blockAlign) return m_file.Fail("a frame came without all its channels");
  return Append(m_interleaved.data(), sampleCount);
}

bool WavWriter::Append(const BYTE* data, DWORD sampleCount) {
  const size_t bytes = static_cast<size_t>(sampleCount) * m_format.blockAlign;
  if (m_dataBytes + bytes > std::numeric_limits<DWORD>::max() - kHeaderBytes) {
    return m_file.Fail("a WAVE file cannot hold more than 4 GiB");
  }
  if (!m_file.Write(data, bytes)) return false;
  m_dataBytes += bytes;
  return true;
}

bool WavWriter::Close() {
  const BYTE padding = 0;
  m_file.Write(&padding, m_dataBytes % 2);
  m_file.Overwrite(0, Header(m_format, static_cast<DWORD>(m_dataBytes)).Data(), kHeaderBytes);
  return m_file.Close();
}

}  // namespace rkplay
