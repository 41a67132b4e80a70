// TracerBoxWatcher: sees the developers' "Pagemark Tracer" boxes for a test.
//
// While an instance lives, a background thread looks for visible top-level dialog boxes with the
// caption, records the text of each box once (with its owner), and dismisses it with OK, so that the
// code under test runs on past the box as it does on the device. A box shown by the test's own thread
// is recorded before the call that showed it returns.
//
// Boxes close at once in the device's prefix, whose X11 windows are unmanaged; in a prefix with
// managed windows and no window manager, Wine takes about two seconds to close each one.
//
//   TracerBoxWatcher boxes;
//   array.GetAt(7);
//   CHECK(boxes.Texts() == std::vector<std::wstring>{L"Array::GetAt index (7) out of range (3)"});
#pragma once

#include <windows.h>

#include <condition_variable>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

class TracerBoxWatcher {
 public:
  struct Box {
    std::wstring text;
    HWND owner;
  };

  explicit TracerBoxWatcher(const wchar_t* caption = L"Pagemark Tracer");
  ~TracerBoxWatcher();
  TracerBoxWatcher(const TracerBoxWatcher&) = delete;
  TracerBoxWatcher& operator=(const TracerBoxWatcher&) = delete;

  // The texts of the boxes seen so far, oldest first.
  std::vector<std::wstring> Texts() const;
  std::vector<Box> Boxes() const;
  size_t Count() const;
  // Waits until at least `count` boxes were seen; false on timeout. For boxes of other threads.
  bool WaitForBoxes(size_t count, DWORD timeoutMs = 5000) const;
  // Forgets the boxes seen so far.
  void Clear();

 private:
  void Run();
  void Poll();

  std::wstring m_caption;
  mutable std::mutex m_mutex;
  mutable std::condition_variable m_changed;
  std::vector<Box> m_boxes;
  std::set<HWND> m_handled;  // boxes already recorded and told to close
  bool m_stop = false;
  std::thread m_thread;
};
