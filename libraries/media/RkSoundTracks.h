#pragma once

#include <string>
#include <vector>

#include "libraries/media/RkAv.h"

// A sound track that a clip plays. Its channels follow those of the track before it.
struct SRkSoundTrack {
  int stream;  // index in the file
  int channels;
};

struct SRkSoundTracks {
  std::vector<SRkSoundTrack> used;  // empty where the file has no sound
  std::string unused;               // names the other tracks in a sentence; empty without any

  int Channels() const;
};

// Chooses among the sound tracks of the programme whose pictures are played, or of the whole file. `choice`
// is that of SRkMediaOptions. False where the file has sound but not the tracks that are asked for, or no
// decoder for them: `reason` then says so.
bool RkChooseSoundTracks(AVFormatContext* file, const char* choice, SRkSoundTracks* tracks,
                         std::string& reason);
