// Screenshots: a rectangle of the screen as a PNG file, through the platform's imaging component.
#include "TodayHost.h"

#include <wincodec.h>

namespace todayhost {

namespace {

// Releases a COM interface when it goes out of scope.
template <typename T>
class ComPtr {
 public:
  ComPtr() = default;
  ComPtr(const ComPtr&) = delete;
  ComPtr& operator=(const ComPtr&) = delete;
  ~ComPtr() {
    if (p_) p_->Release();
  }
  T** Out() { return &p_; }
  T* operator->() const { return p_; }
  T* Get() const { return p_; }

 private:
  T* p_ = nullptr;
};

HRESULT Encode(HBITMAP bitmap, const std::wstring& path) {
  ComPtr<IWICImagingFactory> factory;
  HRESULT hr = CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                                IID_IWICImagingFactory, reinterpret_cast<void**>(factory.Out()));
  if (FAILED(hr)) return hr;

  ComPtr<IWICBitmap> source;
  hr = factory->CreateBitmapFromHBITMAP(bitmap, nullptr, WICBitmapIgnoreAlpha, source.Out());
  if (FAILED(hr)) return hr;

  ComPtr<IWICStream> stream;
  hr = factory->CreateStream(stream.Out());
  if (FAILED(hr)) return hr;
  hr = stream->InitializeFromFilename(path.c_str(), GENERIC_WRITE);
  if (FAILED(hr)) return hr;

  ComPtr<IWICBitmapEncoder> encoder;
  hr = factory->CreateEncoder(GUID_ContainerFormatPng, nullptr, encoder.Out());
  if (FAILED(hr)) return hr;
  hr = encoder->Initialize(stream.Get(), WICBitmapEncoderNoCache);
  if (FAILED(hr)) return hr;

  ComPtr<IWICBitmapFrameEncode> frame;
  ComPtr<IPropertyBag2> options;
  hr = encoder->CreateNewFrame(frame.Out(), options.Out());
  if (FAILED(hr)) return hr;
  hr = frame->Initialize(options.Get());
  if (FAILED(hr)) return hr;

  UINT width = 0, height = 0;
  hr = source->GetSize(&width, &height);
  if (FAILED(hr)) return hr;
  hr = frame->SetSize(width, height);
  if (FAILED(hr)) return hr;

  // The screen has no alpha: plain 24-bit colour, converted when the encoder asks for something else.
  WICPixelFormatGUID format = GUID_WICPixelFormat24bppBGR;
  hr = frame->SetPixelFormat(&format);
  if (FAILED(hr)) return hr;
  ComPtr<IWICBitmapSource> converted;
  hr = WICConvertBitmapSource(format, source.Get(), converted.Out());
  if (FAILED(hr)) return hr;

  hr = frame->WriteSource(converted.Get(), nullptr);
  if (FAILED(hr)) return hr;
  hr = frame->Commit();
  if (FAILED(hr)) return hr;
  return encoder->Commit();
}

}  // namespace

HRESULT SaveScreenPng(const RECT& rect, const std::wstring& path) {
  const int width = rect.right - rect.left, height = rect.bottom - rect.top;
  if (width <= 0 || height <= 0) return E_INVALIDARG;

  HDC screen = GetDC(nullptr);
  if (!screen) return HRESULT_FROM_WIN32(GetLastError());
  HDC memory = CreateCompatibleDC(screen);
  HBITMAP bitmap = CreateCompatibleBitmap(screen, width, height);
  HRESULT hr = E_FAIL;
  if (memory && bitmap) {
    HGDIOBJ old = SelectObject(memory, bitmap);
    BOOL copied = BitBlt(memory, 0, 0, width, height, screen, rect.left, rect.top, SRCCOPY | CAPTUREBLT);
    SelectObject(memory, old);
    hr = copied ? Encode(bitmap, path) : HRESULT_FROM_WIN32(GetLastError());
  }
  if (bitmap) DeleteObject(bitmap);
  if (memory) DeleteDC(memory);
  ReleaseDC(nullptr, screen);
  if (FAILED(hr)) DeleteFileW(path.c_str());
  return hr;
}

}  // namespace todayhost
