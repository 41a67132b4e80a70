#include "TracerBoxWatcher.h"

#include <chrono>

namespace {

struct FoundBoxes {
  const std::wstring* caption;
  std::vector<HWND> windows;
};

BOOL CALLBACK CollectBox(HWND window, LPARAM param) {
  FoundBoxes* found = reinterpret_cast<FoundBoxes*>(param);
  wchar_t className[64] = {};
  GetClassNameW(window, className, 64);
  if (wcscmp(className, L"#32770") != 0) return TRUE;
  wchar_t caption[256] = {};
  InternalGetWindowText(window, caption, 256);
  // Only once it is shown: before that the dialog may still be filling in its text.
  if (*found->caption == caption && IsWindowVisible(window)) found->windows.push_back(window);
  return TRUE;
}

BOOL CALLBACK FindText(HWND child, LPARAM param) {
  std::wstring* text = reinterpret_cast<std::wstring*>(param);
  wchar_t className[64] = {};
  GetClassNameW(child, className, 64);
  if (_wcsicmp(className, L"Static") != 0) return TRUE;
  wchar_t buffer[2048] = {};
  GetWindowTextW(child, buffer, 2048);
  if (buffer[0] == 0) return TRUE;  // the icon
  *text = buffer;
  return FALSE;
}

}  // namespace

TracerBoxWatcher::TracerBoxWatcher(const wchar_t* caption) : m_caption(caption) {
  m_thread = std::thread([this] { Run(); });
}

TracerBoxWatcher::~TracerBoxWatcher() {
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_stop = true;
  }
  m_changed.notify_all();
  m_thread.join();
}

std::vector<std::wstring> TracerBoxWatcher::Texts() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  std::vector<std::wstring> texts;
  for (const Box& box : m_boxes) texts.push_back(box.text);
  return texts;
}

std::vector<TracerBoxWatcher::Box> TracerBoxWatcher::Boxes() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_boxes;
}

size_t TracerBoxWatcher::Count() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_boxes.size();
}

bool TracerBoxWatcher::WaitForBoxes(size_t count, DWORD timeoutMs) const {
  std::unique_lock<std::mutex> lock(m_mutex);
  return m_changed.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                            [&] { return m_boxes.size() >= count; });
}

void TracerBoxWatcher::Clear() {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_boxes.clear();
}

void TracerBoxWatcher::Run() {
  std::unique_lock<std::mutex> lock(m_mutex);
  while (!m_stop) {
    lock.unlock();
    Poll();
    lock.lock();
    m_changed.wait_for(lock, std::chrono::milliseconds(10), [this] { return m_stop; });
  }
}

void TracerBoxWatcher::Poll() {
  FoundBoxes found{&m_caption, {}};
  EnumWindows(CollectBox, reinterpret_cast<LPARAM>(&found));

  // Forget boxes that are gone, so that a later window with a reused handle counts again.
  for (auto it = m_handled.begin(); it != m_handled.end();) {
    if (IsWindow(*it))
      ++it;
    else
      it = m_handled.erase(it);
  }

  for (HWND window : found.windows) {
    if (m_handled.count(window) != 0) continue;
    Box box;
    box.owner = GetWindow(window, GW_OWNER);
    EnumChildWindows(window, FindText, reinterpret_cast<LPARAM>(&box.text));
    m_handled.insert(window);
    {
      // Recorded before the box is told to close, so the thread that showed it sees the record
      // as soon as its call returns.
      std::lock_guard<std::mutex> lock(m_mutex);
      m_boxes.push_back(box);
    }
    m_changed.notify_all();
    PostMessageW(window, WM_COMMAND, MAKEWPARAM(IDOK, BN_CLICKED),
                 reinterpret_cast<LPARAM>(GetDlgItem(window, IDOK)));
  }
}
