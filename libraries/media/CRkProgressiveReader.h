#pragma once

#include <array>
#include <string>

#include "libraries/media/CRkFilterGraph.h"
#include "libraries/media/CRkPictureReader.h"

// The pictures of a stream as whole pictures: one that holds two fields is deinterlaced, from itself and its
// two neighbours, so it is the same however it was reached. Others pass untouched. One thread at a time.
//
// The filter gives a picture once it has the next one, so it runs one picture ahead of what is asked:
//   m_asked     the picture of the last call, as stored in m_current; the one before it is in m_before
//   m_fed       the number of the last picture that the filter has; -1 when it must be built
//   m_filtered  the number of the picture whose moments are in m_moments; -1: none
class CRkProgressiveReader {
 public:
  // `deinterlace`: an ERkDeinterlace. `perField`: each picture gives two moments, one for each field.
  // `expectsFields`: whether the stream is known to hold interlaced pictures.
  CRkProgressiveReader(int deinterlace, bool perField, bool expectsFields)
      : m_deinterlace(deinterlace), m_perField(perField), m_expectsFields(expectsFields) {}

  // The source must outlive the reader.
  bool Open(const SRkMediaSource& source, std::string& reason);

  // As CRkPictureReader::Read, but the answer's number identifies the moment.
  CRkPictureReader::SRkPicture Read(int64_t picture, bool secondMoment);

 private:
  struct SRkStored {
    CRkAv<AVFrame> frame{av_frame_alloc()};
    int64_t number = -1;

    void Keep(const CRkPictureReader::SRkPicture& picture);
  };

  CRkPictureReader::SRkPicture _Pass(CRkPictureReader::SRkPicture picture) const;
  CRkPictureReader::SRkPicture _Moment(bool second, const char* damage) const;
  bool _IsInterlaced(const CRkPictureReader::SRkPicture& picture) const;
  bool _Filter();
  bool _StartFilter();
  bool _Feed(int64_t number, const AVFrame& picture);
  void _Collect();

  const int m_deinterlace;
  const bool m_perField;
  bool m_expectsFields;
  CRkPictureReader m_reader;
  CRkFilterGraph m_filter;
  CRkAv<AVFrame> m_scratch{av_frame_alloc()};
  int64_t m_asked = -1;
  SRkStored m_current;
  SRkStored m_before;
  int64_t m_fed = -1;
  int64_t m_filtered = -1;
  const char* m_damage = nullptr;  // of the picture whose number is m_filtered
  std::array<CRkAv<AVFrame>, 2> m_moments{CRkAv<AVFrame>(av_frame_alloc()), CRkAv<AVFrame>(av_frame_alloc())};
};
