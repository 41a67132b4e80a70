#include "PictureBytes.h"
#include <wincodec.h>
#include <vector>

namespace picturebytes {

namespace {

template <typename T>
void Release(T*& p) {
  if (p) p->Release();
  p = nullptr;
}

}  // namespace

std::string Encode(const GUID& container, int width, int height,
                   const std::function<COLORREF(int, int)>& paint) {
  const HRESULT init = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  const UINT stride = (static_cast<UINT>(width) * 3 + 3) & ~3u;
  std::vector<BYTE> pixels(static_cast<size_t>(stride) * height);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const COLORREF c = paint(x, y);
      BYTE* at = &pixels[static_cast<size_t>(y) * stride + x * 3];
      at[0] = GetBValue(c);
      at[1] = GetGValue(c);
      at[2] = GetRValue(c);
    }
  std::string bytes;
  IWICImagingFactory* factory = nullptr;
  IWICBitmap* bitmap = nullptr;
  IStream* stream = nullptr;
  IWICBitmapEncoder* encoder = nullptr;
  IWICBitmapFrameEncode* frame = nullptr;
  IPropertyBag2* options = nullptr;
  HRESULT hr = CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                                IID_IWICImagingFactory, reinterpret_cast<void**>(&factory));
  if (SUCCEEDED(hr))
    hr = factory->CreateBitmapFromMemory(width, height, GUID_WICPixelFormat24bppBGR, stride,
                                         static_cast<UINT>(pixels.size()), pixels.data(), &bitmap);
  if (SUCCEEDED(hr)) hr = CreateStreamOnHGlobal(nullptr, TRUE, &stream);
  if (SUCCEEDED(hr)) hr = factory->CreateEncoder(container, nullptr, &encoder);
  if (SUCCEEDED(hr)) hr = encoder->Initialize(stream, WICBitmapEncoderNoCache);
  if (SUCCEEDED(hr)) hr = encoder->CreateNewFrame(&frame, &options);
  if (SUCCEEDED(hr)) hr = frame->Initialize(options);
  if (SUCCEEDED(hr)) hr = frame->SetSize(width, height);
  WICPixelFormatGUID format = GUID_WICPixelFormat24bppBGR;
  if (SUCCEEDED(hr)) hr = frame->SetPixelFormat(&format);
  if (SUCCEEDED(hr)) hr = frame->WriteSource(bitmap, nullptr);
  if (SUCCEEDED(hr)) hr = frame->Commit();
  if (SUCCEEDED(hr)) hr = encoder->Commit();
  STATSTG stat = {};
  if (SUCCEEDED(hr)) hr = stream->Stat(&stat, STATFLAG_NONAME);
  HGLOBAL global = nullptr;
  if (SUCCEEDED(hr)) hr = GetHGlobalFromStream(stream, &global);
  if (SUCCEEDED(hr)) {
    const char* data = static_cast<const char*>(GlobalLock(global));
    if (data) bytes.assign(data, static_cast<size_t>(stat.cbSize.QuadPart));
    GlobalUnlock(global);
  }
  Release(options);
  Release(frame);
  Release(encoder);
  Release(stream);
  Release(bitmap);
  Release(factory);
  if (SUCCEEDED(init)) CoUninitialize();
  return bytes;
}

std::string Base64(const std::string& bytes) {
  static const char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  for (size_t i = 0; i < bytes.size(); i += 3) {
    const size_t n = bytes.size() - i < 3 ? bytes.size() - i : 3;
    unsigned v = 0;
    for (size_t k = 0; k < 3; ++k) v = v << 8 | (k < n ? static_cast<unsigned char>(bytes[i + k]) : 0u);
    out += kAlphabet[v >> 18];
    out += kAlphabet[(v >> 12) & 63];
    out += n > 1 ? kAlphabet[(v >> 6) & 63] : '=';
    out += n > 2 ? kAlphabet[v & 63] : '=';
  }
  return out;
}

std::string Folded(const std::string& text, size_t width, const std::string& indent) {
  std::string out;
  for (size_t at = 0; at < text.size(); at += width)
    out += (at ? indent : "") + text.substr(at, width) + "\r\n";
  return out;
}

}  // namespace picturebytes
