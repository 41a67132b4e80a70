// ComRef and ComScope: an interface pointer released when it goes out of scope, and COM for the length
// of one call on whatever thread makes it (a thread that has it already keeps it).
#pragma once
#include <windows.h>
#include <objbase.h>

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

class ComScope {
 public:
  ComScope() : result(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)) {}
  ~ComScope() {
    if (SUCCEEDED(result)) CoUninitialize();
  }
  ComScope(const ComScope&) = delete;
  ComScope& operator=(const ComScope&) = delete;

 private:
  HRESULT result;
};
