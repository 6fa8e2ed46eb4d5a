#pragma once

// The one header that a host includes: the module's factories and everything they speak of.

#include "contracts/RkAVUtils.h"
#include "contracts/RkClipCore.h"
#include "contracts/RkHost.h"
#include "contracts/RkKernel.h"
#include "contracts/RkLogAPI.h"
#include "contracts/RkMediaRecords.h"
#include "output_channel/IRkClipOutputChannel.h"
#include "output_device/IRkSoftwareOutputDevice.h"
#include "source_channel/CRkClipSampleCache.h"
#include "source_channel/IRkClipSourceChannel.h"
#include "source_player/IRkClipSourcePlayer.h"

#if defined(RkClipPlay_EXPORTS)
#define RK_CLIP_PLAY_API RK_EXPORT
#elif defined(RK_CLIP_PLAY_STATIC)
#define RK_CLIP_PLAY_API
#else
#define RK_CLIP_PLAY_API RK_IMPORT
#endif

// Every factory returns 1 and an object with one reference for the caller, or 0 and leaves `out`, which
// must not be null, as it was. Formats are copied. Any thread may call.

// preRollCount: samples that Play waits for. cacheCapacity: samples decoded ahead, at least 1; with a
// pre-roll that is not below it, the Play of a list that long may wait its full second. The pool may be
// null.
RK_CLIP_PLAY_API int RkCreateClipSourceChannel(UINT preRollCount, UINT cacheCapacity,
                                               const SRkVideoResolution& resolution,
                                               const SRkWaveFormatInfo& format, IRkPlayBufferPool* pool,
                                               IRkClipSourceChannel** out);

// As above, for each of the three source channels. The sink may be null: lists then follow each other
// at once.
RK_CLIP_PLAY_API int RkCreateClipOutputChannel(UINT preRollCount, UINT cacheCapacity,
                                               const SRkVideoResolution& resolution,
                                               const SRkWaveFormatInfo& format, IRkPlayBufferPool* pool,
                                               IRkClipOutputChannelNotify* notify,
                                               IRkClipOutputChannel** out);

// The pool must not be null; the callback may be.
RK_CLIP_PLAY_API int RkCreateClipSourcePlayer(const SRkVideoResolution& resolution,
                                              const SRkWaveFormatInfo& format, IRkPlayBufferPool* pool,
                                              IRkClipOutputCallback* callback, IRkClipSourcePlayer** out);

// window: for the audio renderer, may be null where it needs none. queueDepth: frames in flight, at least
// 1. The frame rate must be in the table. Without audio channels, or without a sound system, the device
// shows pictures only.
RK_CLIP_PLAY_API int RkCreateSoftwareOutputDevice(const SRkVideoResolution& resolution,
                                                  const SRkWaveFormatInfo& format, HWND window,
                                                  int queueDepth, IRkSoftwareOutputDevice** out);
