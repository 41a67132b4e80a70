// Pictures embedded in vCards, made into contacts' photos. PNG and BMP pictures are read by the
// product's image library, as the item reads photo files; JPEG, which that library doesn't read, by the
// platform's imaging component. A picture larger than a phone shows is scaled down on the way in.
#pragma once
#include <string>
#include "storage/contact/ContactPhoto.h"

// The longest side an imported photo keeps: a larger picture is scaled down, by averaging the pixels
// each new one covers, to fit a square of this size. The contact page shows a photo at 64 units.
const int kImportedPhotoSide = 480;

// Reads a JPEG, PNG or BMP picture held in memory into `photo` (24 bits), scaled to fit
// kImportedPhotoSide when larger. False with the reason, and an empty photo, when it can't be read.
bool PhotoFromPicture(const std::string& bytes, ContactPhoto& photo, std::wstring& why);

// Scales a 24-bit picture of top-down rows (`stride` bytes each) to width x height by averaging the
// source pixels each target pixel covers; the result has the photo's bottom-up rows.
ContactPhoto AveragedPhoto(const unsigned char* rows, int stride, int sourceWidth, int sourceHeight,
                           int width, int height);
