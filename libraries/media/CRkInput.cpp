#include "libraries/media/CRkInput.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <utility>

#include "libraries/media/RkImageSequence.h"

extern "C" {
#include <libavutil/intreadwrite.h>
}

namespace fs = std::filesystem;

namespace {

// A connection that gives nothing for so long is given up.
constexpr char kNetworkTimeoutUs[] = "10000000";
constexpr char kLive[] = "3000000";  // the longest look at what comes from an address, in microseconds

struct SRkScheme {
  std::string_view name;
  const char* protocols;  // that serve it
};

constexpr SRkScheme kSchemes[] = {
    {"http", "http,https,tcp,tls,httpproxy,crypto"},
    {"https", "http,https,tcp,tls,httpproxy,crypto"},
};

std::string_view SchemeOf(std::string_view name) {
  const size_t end = name.find("://");
  if (end == std::string_view::npos || end == 0) return {};
  const bool isScheme = std::all_of(name.begin(), name.begin() + static_cast<ptrdiff_t>(end),
                                    [](char letter) { return letter >= 'a' && letter <= 'z'; });
  return isScheme ? name.substr(0, end) : std::string_view{};
}

const char* ProtocolsOf(std::string_view scheme) {
  for (const SRkScheme& known : kSchemes) {
    if (known.name == scheme) return known.protocols;
  }
  return nullptr;
}

void QuietLibraries() {
  static const bool quiet = (av_log_set_level(AV_LOG_QUIET), avformat_network_init(), true);
  (void)quiet;
}

// Whether the file consists of the boxes of the mov family, up to its end, and none of them is the index.
bool LacksIndex(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  bool hasData = false;
  unsigned char head[16] = {};
  for (int64_t at = 0; file.seekg(at) && file.read(reinterpret_cast<char*>(head), 8);) {
    const std::string name(reinterpret_cast<const char*>(head) + 4, 4);
    if (at == 0 && name != "ftyp") return false;
    if (name == "moov") return false;
    hasData = hasData || name == "mdat";
    int64_t size = AV_RB32(head);
    if (size == 1 && file.read(reinterpret_cast<char*>(head) + 8, 8))
      size = static_cast<int64_t>(AV_RB64(head + 8));
    if (size < 8) break;  // reaches to the end of the file
    at += size;
    if (at < 0) break;
  }
  return hasData;
}

// The names of all formats that lead to no other file or address.
const std::string& PlainFormats() {
  static const std::string names = [] {
    constexpr std::array<std::string_view, 9> kLeading = {
        "concat", "hls", "dash", "imf", "sdp", "rtsp", "vobsub", "webm_dash_manifest", "image2"};
    std::string list;
    void* position = nullptr;
    while (const AVInputFormat* format = av_demuxer_iterate(&position)) {
      if (std::find(kLeading.begin(), kLeading.end(), format->name) != kLeading.end()) continue;
      list += list.empty() ? "" : ",";
      list += format->name;
    }
    return list;
  }();
  return names;
}

// Lists of files are known by their first line. What is nested in them must be plain.
std::string FormatsFor(AVIOContext* io) {
  unsigned char head[20] = {};
  const int got = avio_read(io, head, sizeof(head));
  avio_seek(io, 0, SEEK_SET);
  const std::string_view start(reinterpret_cast<char*>(head), static_cast<size_t>(std::max(got, 0)));
  if (start == "ffconcat version 1.0") return "concat," + PlainFormats();
  // A picture's own name is no pattern for others: see Open.
  return start.starts_with("#EXTM3U") ? "hls," + PlainFormats() : "image2," + PlainFormats();
}

// Whether the file lies below the folder, with all links followed.
bool IsBelow(const std::string& path, const fs::path& folder) {
  std::error_code error;
  const fs::path root = fs::weakly_canonical(folder, error);
  if (error) return false;
  const fs::path file = fs::weakly_canonical(fs::absolute(path, error), error);
  if (error) return false;
  return std::mismatch(root.begin(), root.end(), file.begin(), file.end()).first == root.end();
}

// Host and port, without the user.
std::string_view AuthorityOf(std::string_view address) {
  address.remove_prefix(std::min(address.size(), address.find("://") + 3));
  address = address.substr(0, address.find_first_of("/?#\\"));
  const size_t user = address.rfind('@');
  return user == std::string_view::npos ? address : address.substr(user + 1);
}

bool IsHttp(std::string_view address) {
  const std::string_view scheme = SchemeOf(address);
  return scheme == "http" || scheme == "https";
}

}  // namespace

bool RkIsAddress(const std::string& name) {
  return !SchemeOf(name).empty();
}

// Decides what is opened on behalf of an input.
struct CRkInput::SRkGuard {
  std::string name;
  const std::atomic<bool>* abort = nullptr;
  bool hasOpened = false;  // the input itself
  std::string refusal;

  static int IsAborted(void* guard) {
    const std::atomic<bool>* const abort = static_cast<SRkGuard*>(guard)->abort;
    return abort != nullptr && *abort ? 1 : 0;
  }

  const char* Protocols() const { return RkIsAddress(name) ? ProtocolsOf(SchemeOf(name)) : "file,crypto"; }

  bool Allows(std::string_view url) {
    for (const std::string_view prefix : {"crypto+", "crypto:"}) {
      if (url.starts_with(prefix)) url.remove_prefix(prefix.size());
    }
    const bool isFile = !RkIsAddress(name);
    const bool allowed =
        isFile ? _IsOwnFile(url) : IsHttp(name) && IsHttp(url) && AuthorityOf(url) == AuthorityOf(name);
    if (!allowed && refusal.empty()) {
      refusal = "it names " + std::string(url.substr(0, 160)) + ", which is not " +
                (isFile ? "below its own folder" : "at its own host");
    }
    return allowed;
  }

 private:
  bool _IsOwnFile(std::string_view url) const {
    if (url.starts_with("file:")) {
      url.remove_prefix(5);
    } else if (url.find(':') != std::string_view::npos) {
      return false;
    }
    return IsBelow(std::string(url), fs::absolute(name).parent_path());
  }
};

CRkInput::CRkInput() = default;
CRkInput::~CRkInput() = default;
CRkInput::CRkInput(CRkInput&& other) noexcept = default;

CRkInput& CRkInput::operator=(CRkInput&& other) noexcept {
  m_format = std::move(other.m_format);  // uses its guard until then
  m_guard = std::move(other.m_guard);
  return *this;
}

void CRkInput::Close() {
  m_format.reset();
  m_guard.reset();
}

std::string CRkInput::Refusal() const {
  return m_guard != nullptr ? m_guard->refusal : std::string();
}

int CRkInput::_OpenNamed(AVFormatContext* format, AVIOContext** io, const char* url, int flags,
                         AVDictionary** options) {
  auto* const guard = static_cast<SRkGuard*>(format->opaque);
  if (guard == nullptr || (flags & AVIO_FLAG_WRITE) != 0) return AVERROR(EPERM);
  const bool isInput = !std::exchange(guard->hasOpened, true);
  if (!isInput && !guard->Allows(url)) return AVERROR(EPERM);
  AVDictionary* own = nullptr;
  if (options == nullptr) options = &own;
  if (RkIsAddress(guard->name)) av_dict_set(options, "rw_timeout", kNetworkTimeoutUs, AV_DICT_DONT_OVERWRITE);
  av_dict_set(options, "protocol_whitelist", guard->Protocols(), 0);
  const int result = avio_open2(io, url, flags, &format->interrupt_callback, options);
  av_dict_free(&own);
  if (result >= 0 && isInput) format->format_whitelist = av_strdup(FormatsFor(*io).c_str());
  return result;
}

bool CRkInput::Open(const std::string& name, const std::atomic<bool>* abort, std::string& reason) {
  QuietLibraries();
  Close();
  m_guard = std::make_unique<SRkGuard>();
  m_guard->name = name;
  m_guard->abort = abort;
  if (m_guard->Protocols() == nullptr) {
    reason = "addresses of this kind cannot be played";
    return false;
  }
  AVFormatContext* format = avformat_alloc_context();
  if (format == nullptr) throw std::bad_alloc();
  format->opaque = m_guard.get();
  format->io_open = _OpenNamed;
  format->interrupt_callback = {SRkGuard::IsAborted, m_guard.get()};
  AVDictionary* options = nullptr;
  av_dict_set(&options, "protocol_whitelist", m_guard->Protocols(), 0);
  av_dict_set(&options, "enable_drefs", "1", 0);
  if (RkIsAddress(name)) av_dict_set(&options, "analyzeduration", kLive, 0);
  const auto sequence = RkIsAddress(name) ? std::nullopt : RkFindImageSequence(name);
  av_dict_set(&options, "pattern_type", sequence ? "sequence" : "none", 0);
  if (sequence) av_dict_set_int(&options, "start_number", sequence->first, 0);
  // The scheme keeps a name with a colon in it from being taken for an address.
  const std::string url = RkIsAddress(name) ? name : "file:" + name;
  int result = avformat_open_input(&format, url.c_str(), sequence ? av_find_input_format("image2") : nullptr,
                                   &options);
  av_dict_free(&options);
  m_format.reset(format);
  if (result >= 0) result = avformat_find_stream_info(format, nullptr);
  reason = m_guard->refusal;
  if (result >= 0 && reason.empty()) return true;
  if (reason.empty() && result == AVERROR_INVALIDDATA && LacksIndex(name)) {
    reason = "its index (moov) is missing: the recording was not finished, or the file is cut";
  }
  if (reason.empty() && result == AVERROR(EPERM) && m_guard->hasOpened) {
    reason = "it names a file that is not below its own folder";
  }
  if (reason.empty()) reason = RkAvErrorText(result);
  Close();
  return false;
}
