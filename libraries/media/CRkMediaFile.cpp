#include "libraries/media/CRkMediaFile.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "base/RkCreateObject.h"
#include "libraries/media/CRkMediaClipElement.h"

namespace {

// The fields that the caller knows; the others keep their defaults.
SRkMediaOptions KnownOptions(const SRkMediaOptions* options) {
  SRkMediaOptions known{};
  if (options != nullptr) std::memcpy(&known, options, std::min<size_t>(options->size, sizeof(known)));
  known.size = sizeof(known);
  return known;
}

}  // namespace

void RkSetReason(const std::string& reason, SRkMediaReason* out) {
  if (out == nullptr) return;
  size_t length = std::min(reason.size(), sizeof(out->text) - 1);
  const auto continues = [&](size_t at) { return (static_cast<unsigned char>(reason[at]) & 0xC0) == 0x80; };
  if (length < reason.size()) {
    while (length > 0 && continues(length)) --length;
  }
  std::copy_n(reason.begin(), length, out->text);
  out->text[length] = 0;
}

BOOL CRkMediaFile::CreateElement(int frameRate, const SRkMediaOptions* options, IRkMediaReadSink* sink,
                                 IRkClipElement** element, SRkMediaReason* reason) {
  SRkMediaOptions known = KnownOptions(options);
  known.audioTracks = nullptr;  // is borrowed, and the tracks are chosen
  const char* why = nullptr;
  if (element == nullptr || !RkIsFrameRate(frameRate)) {
    why = "no element or no frame rate";
  } else if (m_source->FrameCount(frameRate, known) == 0) {
    why = "it is empty";
  } else if (RkCreate<CRkMediaClipElement>(element, m_source, frameRate, known, sink) == 0) {
    why = "out of memory";
  }
  if (why != nullptr) RkSetReason(why, reason);
  return why == nullptr ? TRUE : FALSE;
}

int RkExamineMedia(const char* path, const SRkMediaOptions* options, IRkMediaFile** file,
                   SRkMediaReason* reason) {
  std::string why;
  CRkRef<CRkMediaFile> examined;
  const bool within = RkWithinMemory([&] {
    why = "no path or no file";
    if (path == nullptr || file == nullptr) return;
    auto source = std::make_shared<SRkMediaSource>();
    SRkMediaLook look;
    if (!RkProbeMedia(path, KnownOptions(options), source.get(), &look, why)) return;
    examined = CRkRef<CRkMediaFile>::Adopt(new CRkMediaFile(std::move(source), look));
  });
  if (!within) why = "out of memory";  // needs none
  if (!examined) RkSetReason(why, reason);
  return RkHandOut(std::move(examined), file);
}

int RkDescribeMedia(const char* path, SRkMediaDescription* description, SRkMediaReason* reason) {
  CRkRef<IRkMediaFile> file;
  if (description == nullptr) RkSetReason("no description", reason);
  if (description == nullptr || RkExamineMedia(path, nullptr, file.Out(), reason) == 0) return 0;
  file->GetDescription(description);
  return 1;
}

int RkCreateMediaClipElement(const char* path, int frameRate, const SRkMediaOptions* options,
                             IRkMediaReadSink* sink, IRkClipElement** element, SRkMediaReason* reason) {
  CRkRef<IRkMediaFile> file;
  return RkExamineMedia(path, options, file.Out(), reason) != 0 &&
                 file->CreateElement(frameRate, options, sink, element, reason)
             ? 1
             : 0;
}
