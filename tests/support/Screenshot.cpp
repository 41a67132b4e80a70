#include "Screenshot.h"

#include <wincodec.h>

namespace screenshot {

bool LoadPng(const std::wstring& path, Image* image) {
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  IWICImagingFactory* factory = nullptr;
  if (FAILED(
          CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&factory))))
    return false;
  bool ok = false;
  IWICBitmapDecoder* decoder = nullptr;
  IWICBitmapFrameDecode* frame = nullptr;
  IWICFormatConverter* converter = nullptr;
  if (SUCCEEDED(factory->CreateDecoderFromFilename(path.c_str(), nullptr, GENERIC_READ,
                                                   WICDecodeMetadataCacheOnDemand, &decoder)) &&
      SUCCEEDED(decoder->GetFrame(0, &frame)) && SUCCEEDED(factory->CreateFormatConverter(&converter)) &&
      SUCCEEDED(converter->Initialize(frame, GUID_WICPixelFormat32bppBGRA, WICBitmapDitherTypeNone, nullptr,
                                      0, WICBitmapPaletteTypeCustom)) &&
      SUCCEEDED(converter->GetSize(&image->width, &image->height))) {
    image->bgra.resize(image->width * image->height * 4);
    ok = SUCCEEDED(converter->CopyPixels(nullptr, image->width * 4, static_cast<UINT>(image->bgra.size()),
                                         image->bgra.data()));
  }
  if (converter) converter->Release();
  if (frame) frame->Release();
  if (decoder) decoder->Release();
  factory->Release();
  return ok;
}

}  // namespace screenshot
