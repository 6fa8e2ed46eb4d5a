#include "rkplay/monitor/Canvas.h"

#include <SDL.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <vector>

#include "contracts/RkPictureLayout.h"
#include "rkplay/files/Av.h"

namespace rkplay {
namespace {

template <class T, void (*Destroy)(T*)>
struct Destroyer {
  void operator()(T* object) const { Destroy(object); }
};
using Renderer = std::unique_ptr<SDL_Renderer, Destroyer<SDL_Renderer, SDL_DestroyRenderer>>;
using Texture = std::unique_ptr<SDL_Texture, Destroyer<SDL_Texture, SDL_DestroyTexture>>;

SDL_YUV_CONVERSION_MODE ColoursOf(const SRkVideoResolution& format) {
  if (format.colorRange == RkColorRange_Full) return SDL_YUV_CONVERSION_JPEG;
  return RkHasHdColours(format.height) ? SDL_YUV_CONVERSION_BT709 : SDL_YUV_CONVERSION_BT601;
}

// The graphics processor converts and scales. The texture is 4:2:0: of wider chroma every other row is left
// out, and every other sample of a row.
class TextureCanvas final : public Canvas {
 public:
  TextureCanvas(Renderer renderer, const SRkVideoResolution& format)
      : m_format(format), m_renderer(std::move(renderer)) {
    SDL_SetYUVConversionMode(ColoursOf(format));
    SDL_RenderSetLogicalSize(m_renderer.get(), WidthInSquarePixels(format), format.height);
    m_texture.reset(SDL_CreateTexture(m_renderer.get(), SDL_PIXELFORMAT_IYUV, SDL_TEXTUREACCESS_STREAMING,
                                      format.width, format.height));
  }
  bool IsGood() const { return m_texture != nullptr; }

  bool Draw(const PicturePlanes& picture) override {
    SDL_SetRenderDrawColor(m_renderer.get(), 0, 0, 0, SDL_ALPHA_OPAQUE);
    bool drawn = SDL_RenderClear(m_renderer.get()) == 0;
    if (picture) {
      drawn = drawn && _Upload(picture) &&
              SDL_RenderCopy(m_renderer.get(), m_texture.get(), nullptr, nullptr) == 0;
    }
    SDL_RenderPresent(m_renderer.get());
    return drawn;
  }

 private:
  bool _Upload(const PicturePlanes& planes) {
    const BYTE* data[kRkPlaneCount];
    int stride[kRkPlaneCount];
    for (UINT i = 0; i < kRkPlaneCount; ++i) {
      const SRkPlaneLayout layout = RkPlaneLayout(m_format, i);
      data[i] = planes.Rows(i);
      stride[i] = layout.stride;
      if (i == 0 || m_format.pixelFormat == RkPixelFormat_I420) continue;
      if (m_format.pixelFormat == RkPixelFormat_I444) {
        std::vector<BYTE>& narrowed = m_narrowed[i - 1];
        narrowed.resize(layout.Bytes());
        for (size_t x = 0; x < layout.Bytes(); x += 2) narrowed[x / 2] = data[i][x];
        data[i] = narrowed.data();
        stride[i] = layout.stride / 2;
      }
      stride[i] *= 2;
    }
    return SDL_UpdateYUVTexture(m_texture.get(), nullptr, data[0], stride[0], data[1], stride[1], data[2],
                                stride[2]) == 0;
  }

  const SRkVideoResolution m_format;
  const Renderer m_renderer;
  Texture m_texture;
  std::vector<BYTE> m_narrowed[2];  // chroma of 4:4:4 pictures at half the width
};

// One conversion from the planes into the window's own memory, scaled on the way where the sizes differ.
class SurfaceCanvas final : public Canvas {
 public:
  SurfaceCanvas(SDL_Window* window, const SRkVideoResolution& format) : m_format(format), m_window(window) {}

  static bool Suits(SDL_Window* window) {
    const SDL_Surface* const surface = SDL_GetWindowSurface(window);
    return surface != nullptr && (surface->format->format == SDL_PIXELFORMAT_RGB888 ||
                                  surface->format->format == SDL_PIXELFORMAT_ARGB8888);
  }

  bool Draw(const PicturePlanes& picture) override {
    SDL_Surface* const surface = SDL_GetWindowSurface(m_window);
    if (surface == nullptr) return false;
    const SDL_Rect area = _AreaIn(surface->w, surface->h);
    const bool isCovered = picture && area.w == surface->w && area.h == surface->h;
    if (!isCovered) SDL_FillRect(surface, nullptr, 0);
    if (picture && !_Convert(picture, *surface, area)) return false;
    return SDL_UpdateWindowSurface(m_window) == 0;
  }

 private:
  SDL_Rect _AreaIn(int width, int height) const {
    const long long shapeWidth = WidthInSquarePixels(m_format);
    const auto fitWidth = static_cast<int>(std::min<long long>(width, height * shapeWidth / m_format.height));
    const auto fitHeight =
        static_cast<int>(std::min<long long>(height, 1LL * width * m_format.height / shapeWidth));
    return {(width - fitWidth) / 2, (height - fitHeight) / 2, std::max(fitWidth, 1), std::max(fitHeight, 1)};
  }

  bool _Convert(const PicturePlanes& planes, SDL_Surface& surface, const SDL_Rect& area) {
    if (!m_scaler || area.w != m_width || area.h != m_height) {
      const bool isScaled = area.w != m_format.width || area.h != m_format.height;
      m_scaler =
          MakeRgbScaler(m_format, AV_PIX_FMT_BGR0, area.w, area.h, isScaled ? SWS_FAST_BILINEAR : SWS_POINT);
      if (!m_scaler) return false;
      m_width = area.w;
      m_height = area.h;
    }
    constexpr ptrdiff_t kPixelBytes = 4;
    uint8_t* const target[4] = {static_cast<uint8_t*>(surface.pixels) + ptrdiff_t{area.y} * surface.pitch +
                                area.x * kPixelBytes};
    const int targetStride[4] = {surface.pitch};
    return Scale(*m_scaler, planes, m_format, target, targetStride);
  }

  const SRkVideoResolution m_format;
  SDL_Window* const m_window;
  AvPtr<SwsContext> m_scaler;  // to m_width x m_height
  int m_width = 0;
  int m_height = 0;
};

// Whether the renderer only says that it is accelerated: an OpenGL that computes on the processor.
bool IsComputedOpenGl(const SDL_RendererInfo& info) {
  if (!std::string_view(info.name).starts_with("opengl")) return false;
  using GetString = const unsigned char* (*)(unsigned);
  constexpr unsigned kGlRenderer = 0x1F01;
  const auto getString = reinterpret_cast<GetString>(SDL_GL_GetProcAddress("glGetString"));
  const auto* const name = getString != nullptr ? getString(kGlRenderer) : nullptr;
  if (name == nullptr) return false;
  const std::string_view renderer(reinterpret_cast<const char*>(name));
  for (const char* const computed : {"llvmpipe", "softpipe", "SwiftShader", "Software"}) {
    if (renderer.find(computed) != std::string_view::npos) return true;
  }
  return false;
}

}  // namespace

int WidthInSquarePixels(const SRkVideoResolution& format) {
  if (format.aspectNumerator <= 0 || format.aspectDenominator <= 0) return format.width;
  return std::max(1, static_cast<int>(static_cast<long long>(format.width) * format.aspectNumerator /
                                      format.aspectDenominator));
}

std::unique_ptr<Canvas> Canvas::Create(SDL_Window* window, const SRkVideoResolution& format) {
  Renderer renderer(SDL_CreateRenderer(window, -1, SDL_RENDERER_ACCELERATED));
  SDL_RendererInfo info{};
  if (renderer && SDL_GetRendererInfo(renderer.get(), &info) == 0 && !IsComputedOpenGl(info)) {
    auto canvas = std::make_unique<TextureCanvas>(std::move(renderer), format);
    if (canvas->IsGood()) return canvas;
  }
  renderer.reset();
  if (SurfaceCanvas::Suits(window)) return std::make_unique<SurfaceCanvas>(window, format);
  renderer.reset(SDL_CreateRenderer(window, -1, SDL_RENDERER_SOFTWARE));
  if (!renderer) return nullptr;
  auto canvas = std::make_unique<TextureCanvas>(std::move(renderer), format);
  if (!canvas->IsGood()) return nullptr;
  return canvas;
}

}  // namespace rkplay
