#include "module/RkClipPlay.h"

#include <new>

#include "base/RkCreateObject.h"
#include "output_channel/CRkClipOutputChannel.h"
#include "output_device/CRkSoftwareOutputDevice.h"
#include "source_channel/CRkClipSourceChannel.h"
#include "source_player/CRkClipSourcePlayer.h"

int RkCreateClipSourceChannel(UINT preRollCount, UINT cacheCapacity, const SRkVideoResolution& resolution,
                              const SRkWaveFormatInfo& format, IRkPlayBufferPool* pool,
                              IRkClipSourceChannel** out) {
  return RkInitializeAndHandOut(new (std::nothrow) CRkClipSourceChannel(resolution, format), out,
                                preRollCount, cacheCapacity, pool);
}

int RkCreateClipOutputChannel(UINT preRollCount, UINT cacheCapacity, const SRkVideoResolution& resolution,
                              const SRkWaveFormatInfo& format, IRkPlayBufferPool* pool,
                              IRkClipOutputChannelNotify* notify, IRkClipOutputChannel** out) {
  return RkInitializeAndHandOut(new (std::nothrow) CRkClipOutputChannel, out, preRollCount, cacheCapacity,
                                resolution, format, pool, notify);
}

int RkCreateClipSourcePlayer(const SRkVideoResolution& resolution, const SRkWaveFormatInfo& format,
                             IRkPlayBufferPool* pool, IRkClipOutputCallback* callback,
                             IRkClipSourcePlayer** out) {
  return RkInitializeAndHandOut(new (std::nothrow) CRkClipSourcePlayer(resolution, format), out, pool,
                                callback);
}

int RkCreateSoftwareOutputDevice(const SRkVideoResolution& resolution, const SRkWaveFormatInfo& format,
                                 HWND window, int queueDepth, IRkSoftwareOutputDevice** out) {
  return RkInitializeAndHandOut(new (std::nothrow) CRkSoftwareOutputDevice, out, resolution, format, window,
                                queueDepth);
}
