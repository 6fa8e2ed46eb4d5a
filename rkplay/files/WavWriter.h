#pragma once

#include <string>
#include <vector>

#include "base/CRkRef.h"
#include "contracts/RkKernel.h"
#include "rkplay/files/OutputFile.h"

namespace rkplay {

// Writes sound as a RIFF WAVE file of integer samples. The sizes in its header are set by Close, so they
// are right however short the run was. The format ends at 4 GiB: what would go beyond is an error.
class WavWriter {
 public:
  WavWriter(const std::string& path, const SRkWaveFormatInfo& format);

  bool Write(IRkAVPlaySample& sample);
  // Samples in the file's format, all channels of each.
  bool Append(const BYTE* data, DWORD sampleCount);
  bool Close();
  const std::string& Error() const { return m_file.Error(); }

 private:
  using Blocks = std::vector<CRkRef<IRkAudioSample>>;

  bool _Interleave(const Blocks& blocks);

  const SRkWaveFormatInfo m_format;
  OutputFile m_file;
  ULONGLONG m_dataBytes = 0;
  std::vector<BYTE> m_interleaved;
};

}  // namespace rkplay
