// Pictures made for the tests as the bytes of their files, and those bytes as vCard text.
#pragma once
#include <windows.h>
#include <functional>
#include <string>

namespace picturebytes {

// A picture of width x height whose pixel (x, y) has the colour paint(x, y) (0x00BBGGRR), in the file
// format `container` names (GUID_ContainerFormatPng, ...Jpeg, ...Bmp) as the imaging component writes
// it. Empty when it can't be made.
std::string Encode(const GUID& container, int width, int height,
                   const std::function<COLORREF(int, int)>& paint);

// Base64 with its padding, in one line.
std::string Base64(const std::string& bytes);

// `text` in lines of `width` characters ending in CR LF, each after the first begun with `indent`.
std::string Folded(const std::string& text, size_t width, const std::string& indent);

}  // namespace picturebytes
