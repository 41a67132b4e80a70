// Mutation runs over photo files: damaged PNG and BMP pictures read through the image library and
// made photos, then scaled as a row would. No input may crash or hang; what decodes has a sane size
// and makes a whole photo.
#include <doctest/doctest.h>

#include <string>

#include "MutationLoop.h"
#include "PhotoTestSupport.h"
#include "TestPaths.h"
#include "pimutil/PimUtil.h"

using namespace phototest;

namespace {

std::vector<mutation::Bytes> PngCorpus() {
  std::vector<mutation::Bytes> corpus;
  const std::wstring path = pictures::TempPath(L"mutation_seed.png");
  const int sizes[][2] = {{1, 1}, {5, 3}, {16, 16}, {33, 7}};
  for (const auto& size : sizes) {
    WritePngFile(path, size[0], size[1],
                 [](int x, int y) { return static_cast<uint32_t>(x * 8 << 16 | y * 8 << 8 | 0x80); });
    corpus.push_back(testpaths::ReadFileBytes(path));
  }
  // The test's own encodings: a palette and an interlaced grey picture.
  pictures::PngLayout palette;
  palette.width = 9;
  palette.height = 4;
  palette.bitDepth = 4;
  palette.colourType = pictures::kPalette;
  for (uint32_t i = 0; i < 16; ++i) palette.palette.push_back(i * 0x0F0F0Fu);
  palette.sample = [](int x, int y, int) { return static_cast<uint32_t>((x + y) % 16); };
  corpus.push_back(pictures::MakePng(palette));
  pictures::PngLayout grey;
  grey.width = 11;
  grey.height = 9;
  grey.bitDepth = 8;
  grey.colourType = pictures::kGray;
  grey.interlaced = true;
  grey.sample = [](int x, int y, int) { return static_cast<uint32_t>(x * 20 + y); };
  corpus.push_back(pictures::MakePng(grey));
  DeleteFileW(path.c_str());
  return corpus;
}

std::vector<mutation::Bytes> BmpCorpus() {
  std::vector<mutation::Bytes> corpus;
  for (int bits : {1, 4, 8, 16, 24, 32}) {
    pictures::BmpLayout layout;
    layout.width = 7;
    layout.height = 5;
    layout.bitsPerPixel = bits;
    layout.topDown = bits == 16;
    if (bits <= 8)
      for (int i = 0; i < (1 << bits); ++i) layout.palette.push_back(static_cast<uint32_t>(i * 0x010203));
    layout.value = [bits](int x, int y) {
      return static_cast<uint32_t>(bits <= 8 ? (x + y) % (1 << bits) : (x * 0x1234 + y * 0x77) & 0xFFFFFF);
    };
    corpus.push_back(pictures::MakeBmp(layout));
  }
  return corpus;
}

// Reads one damaged picture as a file and as a photo; false when what came out isn't sound.
bool ReadsSoundly(const mutation::Bytes& input, bool png, const std::wstring& path, std::string& why) {
  if (!testpaths::WriteFileBytes(path, input)) {
    why = "the input couldn't be written";
    return false;
  }
  int width = 0, height = 0;
  HBITMAP bitmap =
      png ? Util_LoadPNG(path.c_str(), &width, &height) : Util_LoadBMP(path.c_str(), &width, &height);
  if (bitmap == nullptr) return true;
  if (width <= 0 || height <= 0 || width > 16384 || height > 16384) {
    why = "a bitmap of " + std::to_string(width) + " x " + std::to_string(height);
    DeleteObject(bitmap);
    return false;
  }
  ContactPhoto photo;
  if (!CopyToPhoto(bitmap, photo)) return true;  // larger than a photo may be
  if (photo.Width() != width || photo.Height() != height ||
      photo.Pixels().GetLength() != static_cast<uint32_t>(photo.Stride() * height)) {
    why = "a photo that isn't the bitmap's size";
    return false;
  }
  if (!ScalePhotoToSquare(photo, 24) || photo.Width() > 24 || photo.Height() > 24) {
    why = "the photo couldn't be scaled into its square";
    return false;
  }
  return true;
}

}  // namespace

TEST_CASE("mutations: PNG photo files") {
  const std::wstring path = pictures::TempPath(L"mutation.png");
  const mutation::Summary summary = mutation::Run(
      "photo-png", PngCorpus(),
      [&path](const mutation::Bytes& input, std::string& why) {
        return ReadsSoundly(input, true, path, why);
      },
      1500, 21);
  for (const std::string& reason : summary.firstWrong) MESSAGE(reason);
  CHECK(summary.wrong == 0);
  CHECK(summary.inputs >= 1500);
  DeleteFileW(path.c_str());
}

TEST_CASE("mutations: BMP photo files") {
  const std::wstring path = pictures::TempPath(L"mutation.bmp");
  const mutation::Summary summary = mutation::Run(
      "photo-bmp", BmpCorpus(),
      [&path](const mutation::Bytes& input, std::string& why) {
        return ReadsSoundly(input, false, path, why);
      },
      1500, 22);
  for (const std::string& reason : summary.firstWrong) MESSAGE(reason);
  CHECK(summary.wrong == 0);
  CHECK(summary.inputs >= 1500);
  DeleteFileW(path.c_str());
}
