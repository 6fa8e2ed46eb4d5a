#pragma once

#include "contracts/RkAVUtils.h"
#include "contracts/RkMediaElement.h"
#include "contracts/RkPictureLayout.h"
#include "tests/support/RkFakes.h"
#include "tests/support/RkFfmpeg.h"
#include "tests/support/RkSamples.h"

// Counts what a file could not give.
class CReadSink : public CFake<IRkMediaReadSink> {
 public:
  void OnFrameSubstituted(UINT offset, const char* reason) override {
    substituted.emplace_back(offset, reason);
  }
  std::vector<std::pair<UINT, std::string>> substituted;
};

// Makes media files, plays them through elements, and gives the bytes of what comes out.
class CMediaTest : public testing::Test {
 protected:
  struct SFrame {
    bool read = false;
    UINT position = kRkNoPosition;
    std::string picture;  // Y, U and V without padding
    std::string sound;
  };

  // Runs ffmpeg with the arguments and a file of the name as its output; gives the path.
  std::string Make(const std::string& name, const std::string& arguments) {
    const std::string path = folder.Path(name);
    RkRunFfmpeg(arguments + " '" + path + "'");
    return path;
  }

  SRkMediaDescription Describe(const std::string& path) {
    SRkMediaDescription description{};
    SRkMediaReason reason{};
    CRkRef<IRkMediaFile> file;
    EXPECT_EQ(RkExamineMedia(path.c_str(), &options, file.Out(), &reason), 1) << reason.text;
    if (file) file->GetDescription(&description);
    return description;
  }

  // An element in the file's own format.
  CRkRef<IRkClipElement> OpenAsItIs(const std::string& path) { return OpenAs(path, Describe(path).format); }
  CRkRef<IRkClipElement> OpenAtRate(const std::string& path, int frameRate) {
    SRkClipFormat as = Describe(path).format;
    as.video.frameRate = frameRate;
    return OpenAs(path, as);
  }
  CRkRef<IRkClipElement> OpenAs(const std::string& path, const SRkClipFormat& as) {
    format = as;
    CRkRef<IRkClipElement> element = Create(path, as.video.frameRate);
    EXPECT_TRUE(element && element->Open(nullptr, 0, &format));
    return element;
  }

  CRkRef<IRkClipElement> Create(const std::string& path, int frameRate) {
    CRkRef<IRkClipElement> element;
    SRkMediaReason reason{};
    EXPECT_EQ(RkCreateMediaClipElement(path.c_str(), frameRate, &options, &sink, element.Out(), &reason), 1)
        << reason.text;
    return element;
  }

  SFrame Next(const CRkRef<IRkClipElement>& element) {
    CRkRef<IRkAVPlaySample> sample;
    return element->ReadNextSample(sample.Out()) ? Unpack(sample) : SFrame{};
  }

  SFrame At(const CRkRef<IRkClipElement>& element, UINT offset) {
    CRkRef<IRkAVPlaySample> sample;
    return element->ReadSampleAt(offset, sample.Out()) ? Unpack(sample) : SFrame{};
  }

  // Everything from the next sample on.
  std::vector<SFrame> Rest(const CRkRef<IRkClipElement>& element) {
    std::vector<SFrame> frames;
    for (SFrame frame = Next(element); frame.read; frame = Next(element)) frames.push_back(std::move(frame));
    return frames;
  }

  static std::string Sound(const std::vector<SFrame>& frames) {
    std::string sound;
    for (const SFrame& frame : frames) sound += frame.sound;
    return sound;
  }

  size_t PictureBytes() const {
    size_t bytes = 0;
    for (UINT plane = 0; plane < kRkPlaneCount; ++plane) {
      const SRkPlaneLayout layout = RkPlaneLayout(format.video, plane);
      bytes += static_cast<size_t>(layout.width) * static_cast<size_t>(layout.height);
    }
    return bytes;
  }

  // The numbers of the reference's pictures that the frames show; -1 where a frame shows none of them.
  std::vector<int> NumbersIn(const std::string& reference, const std::vector<SFrame>& frames) const {
    std::vector<int> numbers;
    for (const SFrame& frame : frames) {
      int number = -1;
      for (size_t at = 0; at + PictureBytes() <= reference.size(); at += PictureBytes()) {
        if (reference.compare(at, PictureBytes(), frame.picture) == 0) {
          number = static_cast<int>(at / PictureBytes());
        }
      }
      numbers.push_back(number);
    }
    return numbers;
  }

  // A frame shows the reference's picture of the number, and carries the position.
  void ExpectPicture(const SFrame& frame, const std::string& reference, size_t number) const {
    ASSERT_TRUE(frame.read) << number;
    ASSERT_LE((number + 1) * PictureBytes(), reference.size());
    EXPECT_TRUE(reference.compare(number * PictureBytes(), PictureBytes(), frame.picture) == 0) << number;
  }

  // At random: a frame shows the picture of its own number.
  void ExpectPicturesAt(const std::vector<UINT>& offsets, const CRkRef<IRkClipElement>& element,
                        const std::string& reference) {
    for (const UINT offset : offsets) ExpectPicture(At(element, offset), reference, offset);
  }

  // All of the element, read in order, is the reference's pictures, each once.
  void ExpectAllPictures(const CRkRef<IRkClipElement>& element, const std::string& reference) {
    const size_t count = reference.size() / PictureBytes();
    EXPECT_EQ(element->GetFrameCount(), count);
    const std::vector<SFrame> frames = Rest(element);
    ASSERT_EQ(frames.size(), count);
    for (size_t i = 0; i < count; ++i) {
      ExpectPicture(frames[i], reference, i);
      EXPECT_EQ(frames[i].position, i);
    }
    EXPECT_TRUE(sink.substituted.empty());
  }

  CTempFolder folder;
  CReadSink sink;
  SRkClipFormat format{};
  SRkMediaOptions options{sizeof(SRkMediaOptions), RkFit_Bars, RkDeinterlace_Auto, 0, nullptr, FALSE};

 private:
  SFrame Unpack(const CRkRef<IRkAVPlaySample>& sample) {
    SFrame frame;
    frame.read = true;
    frame.position = sample->GetPosition();
    for (UINT plane = 0; plane < kRkPlaneCount; ++plane) {
      const SRkPlaneLayout layout = RkPlaneLayout(format.video, plane);
      const BYTE* row = RowsOf(*sample, plane);
      for (int y = 0; row != nullptr && y < layout.height; ++y, row += layout.stride) {
        frame.picture.append(reinterpret_cast<const char*>(row), static_cast<size_t>(layout.width));
      }
    }
    const std::vector<BYTE> sound = SoundOf(*sample);
    frame.sound.assign(sound.begin(), sound.end());
    return frame;
  }
};
