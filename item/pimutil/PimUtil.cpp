// The image library over the platform's imaging component: a decoder for the file or the memory,
// its first frame converted to 24-bit BGR and copied into a top-down DIB section; saving the other way
// round.
#define PIMUTIL_BUILD
#include "pimutil/PimUtil.h"

#include <wincodec.h>

namespace {

// Releases a COM interface when it goes out of scope.
template <typename T>
class ComRef {
 public:
  ComRef() = default;
  ComRef(const ComRef&) = delete;
  ComRef& operator=(const ComRef&) = delete;
  ~ComRef() {
    if (p) p->Release();
  }
  T** Out() { return &p; }
  T* operator->() const { return p; }
  T* Get() const { return p; }

 private:
  T* p = nullptr;
};

// COM for the length of one call, on whatever thread calls; a thread that has it already keeps it.
class ComScope {
 public:
  ComScope() : result(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)) {}
  ~ComScope() {
    if (SUCCEEDED(result)) CoUninitialize();
  }

 private:
  HRESULT result;
};

// Turns a failed HRESULT into the thread's last error; gives whether it succeeded.
bool Succeeded(HRESULT hr) {
  if (SUCCEEDED(hr)) return true;
  SetLastError(HRESULT_FACILITY(hr) == FACILITY_WIN32 ? HRESULT_CODE(hr) : ERROR_INVALID_DATA);
  return false;
}

HRESULT Factory(IWICImagingFactory** factory) {
  return CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_IWICImagingFactory,
                          reinterpret_cast<void**>(factory));
}

// The first frame of `decoder` as a new 24-bit DIB section.
HBITMAP FrameToBitmap(IWICImagingFactory* factory, IWICBitmapDecoder* decoder, int* width, int* height) {
  (void)factory;
  ComRef<IWICBitmapFrameDecode> frame;
  if (!Succeeded(decoder->GetFrame(0, frame.Out()))) return nullptr;
  ComRef<IWICBitmapSource> converted;
  if (!Succeeded(WICConvertBitmapSource(GUID_WICPixelFormat24bppBGR, frame.Get(), converted.Out())))
    return nullptr;
  UINT w = 0, h = 0;
  if (!Succeeded(converted->GetSize(&w, &h))) return nullptr;
  if (w == 0 || h == 0 || w > 16384 || h > 16384) {
    SetLastError(ERROR_INVALID_DATA);
    return nullptr;
  }
  BITMAPINFO info = {};
  info.bmiHeader.biSize = sizeof(info.bmiHeader);
  info.bmiHeader.biWidth = static_cast<LONG>(w);
  info.bmiHeader.biHeight = -static_cast<LONG>(h);  // top-down while copying, rows in reading order
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 24;
  info.bmiHeader.biCompression = BI_RGB;
  void* bits = nullptr;
  HBITMAP bitmap = CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
  if (bitmap == nullptr) return nullptr;
  const UINT stride = (w * 3 + 3) & ~3u;
  if (!Succeeded(converted->CopyPixels(nullptr, stride, stride * h, static_cast<BYTE*>(bits)))) {
    DeleteObject(bitmap);
    return nullptr;
  }
  if (width) *width = static_cast<int>(w);
  if (height) *height = static_cast<int>(h);
  return bitmap;
}

HBITMAP LoadFile(LPCWSTR path, const GUID& container, int* width, int* height) {
  if (path == nullptr || path[0] == 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  ComScope com;
  ComRef<IWICImagingFactory> factory;
  if (!Succeeded(Factory(factory.Out()))) return nullptr;
  ComRef<IWICBitmapDecoder> decoder;
  if (!Succeeded(factory->CreateDecoderFromFilename(path, nullptr, GENERIC_READ,
                                                    WICDecodeMetadataCacheOnDemand, decoder.Out())))
    return nullptr;
  GUID format = {};
  if (!Succeeded(decoder->GetContainerFormat(&format))) return nullptr;
  if (format != container) {
    SetLastError(ERROR_INVALID_DATA);
    return nullptr;
  }
  return FrameToBitmap(factory.Get(), decoder.Get(), width, height);
}

}  // namespace

HBITMAP WINAPI Util_LoadPNG(LPCWSTR path, int* width, int* height) {
  return LoadFile(path, GUID_ContainerFormatPng, width, height);
}

HBITMAP WINAPI Util_LoadBMP(LPCWSTR path, int* width, int* height) {
  return LoadFile(path, GUID_ContainerFormatBmp, width, height);
}

HBITMAP WINAPI Util_LoadMemPNG(const void* data, DWORD size, int* width, int* height) {
  if (data == nullptr || size == 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  ComScope com;
  ComRef<IWICImagingFactory> factory;
  if (!Succeeded(Factory(factory.Out()))) return nullptr;
  ComRef<IWICStream> stream;
  if (!Succeeded(factory->CreateStream(stream.Out()))) return nullptr;
  if (!Succeeded(stream->InitializeFromMemory(static_cast<BYTE*>(const_cast<void*>(data)), size)))
    return nullptr;
  ComRef<IWICBitmapDecoder> decoder;
  if (!Succeeded(factory->CreateDecoder(GUID_ContainerFormatPng, nullptr, decoder.Out()))) return nullptr;
  if (!Succeeded(decoder->Initialize(stream.Get(), WICDecodeMetadataCacheOnDemand))) return nullptr;
  return FrameToBitmap(factory.Get(), decoder.Get(), width, height);
}

BOOL WINAPI Util_SavePNG(HBITMAP bitmap, LPCWSTR path) {
  if (bitmap == nullptr || path == nullptr || path[0] == 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  ComScope com;
  ComRef<IWICImagingFactory> factory;
  if (!Succeeded(Factory(factory.Out()))) return FALSE;
  ComRef<IWICBitmap> source;
  if (!Succeeded(factory->CreateBitmapFromHBITMAP(bitmap, nullptr, WICBitmapIgnoreAlpha, source.Out())))
    return FALSE;
  UINT width = 0, height = 0;
  if (!Succeeded(source->GetSize(&width, &height))) return FALSE;
  ComRef<IWICStream> stream;
  if (!Succeeded(factory->CreateStream(stream.Out()))) return FALSE;
  if (!Succeeded(stream->InitializeFromFilename(path, GENERIC_WRITE))) return FALSE;
  ComRef<IWICBitmapEncoder> encoder;
  if (!Succeeded(factory->CreateEncoder(GUID_ContainerFormatPng, nullptr, encoder.Out()))) return FALSE;
  if (!Succeeded(encoder->Initialize(stream.Get(), WICBitmapEncoderNoCache))) return FALSE;
  ComRef<IWICBitmapFrameEncode> frame;
  ComRef<IPropertyBag2> options;
  if (!Succeeded(encoder->CreateNewFrame(frame.Out(), options.Out()))) return FALSE;
  if (!Succeeded(frame->Initialize(options.Get()))) return FALSE;
  if (!Succeeded(frame->SetSize(width, height))) return FALSE;
  WICPixelFormatGUID format = GUID_WICPixelFormat24bppBGR;
  if (!Succeeded(frame->SetPixelFormat(&format))) return FALSE;
  ComRef<IWICBitmapSource> converted;
  if (!Succeeded(WICConvertBitmapSource(format, source.Get(), converted.Out()))) return FALSE;
  if (!Succeeded(frame->WriteSource(converted.Get(), nullptr))) return FALSE;
  if (!Succeeded(frame->Commit())) return FALSE;
  return Succeeded(encoder->Commit()) ? TRUE : FALSE;
}
