#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "libraries/media/RkAv.h"

// Whether the name is an address, SCHEME://..., instead of a file's.
bool RkIsAddress(const std::string& name);

// An opened file or address, with the streams found in it. What it names in its turn (segments of an HLS
// playlist, files of a concat script, references of a MOV) is opened only below its own folder, or at its
// own host; all else is refused. Formats that lead elsewhere in other ways are not played at all.
//
// One thread at a time.
class CRkInput {
 public:
  CRkInput();
  ~CRkInput();
  CRkInput(CRkInput&& other) noexcept;
  CRkInput& operator=(CRkInput&& other) noexcept;

  // `abort` (may be null) ends every wait of this call and of later reading once it is true; it must
  // outlive the input. False on failure; `reason` then says why in a few words.
  bool Open(const std::string& name, const std::atomic<bool>* abort, std::string& reason);
  void Close();

  // Empty, or the reason for which something that the file names was refused.
  std::string Refusal() const;

  AVFormatContext* get() const { return m_format.get(); }
  AVFormatContext* operator->() const { return m_format.get(); }

 private:
  struct SRkGuard;

  static int _OpenNamed(AVFormatContext* format, AVIOContext** io, const char* url, int flags,
                        AVDictionary** options);

  std::unique_ptr<SRkGuard> m_guard;  // used by the format until it is closed
  CRkAv<AVFormatContext> m_format;
};
