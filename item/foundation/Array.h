// Array<T>: the one collection of the system. Storage, count in use, count allocated and a growth
// step, in that order. Elements are relocated by raw byte copies, so T must be movable by bytes
// (Str is); pointers and references into the array don't survive a growth.
//
// New slots are zero-filled and, for types that need it, constructed; slots that are cut off are
// destroyed where the type needs it and otherwise forgotten. An index out of range shows a
// "Pagemark Tracer" box and the access is then carried out regardless: a bad index is a programmer's
// error to be seen, not a condition to recover from.
#pragma once

#include "foundation/DebugUtils.h"

#include <new>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <type_traits>

template <class T>
class Array {
 public:
  Array() : m_data(nullptr), m_size(0), m_maxSize(0), m_growBy(0) {}
  Array(const Array& other) : Array() { Copy(other); }
  Array& operator=(const Array& other) {
    Copy(other);
    return *this;
  }
  ~Array() { SetSize(0); }

  int GetSize() const { return m_size; }
  int GetMaxSize() const { return m_maxSize; }
  int GetGrowBy() const { return m_growBy; }
  T* GetData() { return m_data; }
  const T* GetData() const { return m_data; }

  // Resizes to `newSize`. A `growBy` other than -1 becomes the fixed growth step, 0 meaning
  // automatic: an eighth of the size, at least 4 and at most 1024 elements per step. The first
  // allocation is exact; size 0 frees the storage; shrinking keeps it.
  void SetSize(int newSize, int growBy = -1) {
    if (growBy != -1) m_growBy = growBy;

    if (newSize <= 0) {
      if (m_data != nullptr) {
        Destroy(m_data, m_size);
        free(m_data);
        m_data = nullptr;
      }
      m_size = 0;
      m_maxSize = 0;
      return;
    }

    if (m_data == nullptr) {
      m_data = Allocate(newSize);
      Construct(m_data, newSize);
      m_size = newSize;
      m_maxSize = newSize;
      return;
    }

    if (newSize <= m_maxSize) {
      if (newSize > m_size)
        Construct(m_data + m_size, newSize - m_size);
      else if (newSize < m_size)
        Destroy(m_data + newSize, m_size - newSize);
      m_size = newSize;
      return;
    }

    int step = m_growBy;
    if (step == 0) {
      step = m_size / 8;
      if (step < 4)
        step = 4;
      else if (step > 1024)
        step = 1024;
    }
    int newMaxSize = newSize > m_maxSize + step ? newSize : m_maxSize + step;
    T* data = Allocate(newMaxSize);
    memcpy(static_cast<void*>(data), static_cast<const void*>(m_data),
           static_cast<size_t>(m_size) * sizeof(T));
    Construct(data + m_size, newSize - m_size);
    free(m_data);
    m_data = data;
    m_size = newSize;
    m_maxSize = newMaxSize;
  }

  void RemoveAll() { SetSize(0); }

  T GetAt(int index) const {
    if (index < 0 || index > m_size - 1)
      TracerBox(L"Array::GetAt index (%d) out of range (%d)", index, m_size);
    return m_data[index];
  }

  void SetAt(int index, const T& value) {
    if (index < 0 || index > m_size - 1)
      TracerBox(L"Array::SetAt index (%d) out of range (%d)", index, m_size);
    m_data[index] = value;
  }

  T& ElementAt(int index) {
    if (index < 0 || index > m_size - 1)
      TracerBox(L"Array::ElementAt index (%d) out of range (%d)", index, m_size);
    return m_data[index];
  }

  const T& ElementAt(int index) const {
    if (index < 0 || index > m_size - 1)
      TracerBox(L"Array::ElementAt index (%d) out of range (%d)", index, m_size);
    return m_data[index];
  }

  T& operator[](int index) { return ElementAt(index); }
  const T& operator[](int index) const { return ElementAt(index); }

  // Appends one element and returns its index.
  int Add(const T& value) {
    T copy(value);  // `value` may live in this array, which may move
    int index = m_size;
    SetSize(m_size + 1);
    m_data[index] = copy;
    return index;
  }

  // Appends the elements of `other` and returns the index of the first of them.
  int Append(const Array& other) {
    int oldSize = m_size;
    int count = other.m_size;
    SetSize(m_size + count);
    // Read through `other` after the resize: it may be this very array.
    for (int i = 0; i < count; ++i) m_data[oldSize + i] = other.m_data[i];
    return oldSize;
  }

  void Copy(const Array& other) {
    if (this == &other) return;
    SetSize(other.m_size);
    for (int i = 0; i < other.m_size; ++i) m_data[i] = other.m_data[i];
  }

  // Stores `value` `count` times from `index` on, shifting the tail up; an index at or past the end
  // extends the array to index + count.
  void InsertAt(int index, const T& value, int count = 1) {
    if (count <= 0) return;
    T copy(value);
    if (index >= m_size) {
      SetSize(index + count);
    } else {
      int oldSize = m_size;
      SetSize(m_size + count);
      // The slots just made at the end are overwritten by the shifted tail.
      Destroy(m_data + oldSize, count);
      memmove(static_cast<void*>(m_data + index + count), static_cast<const void*>(m_data + index),
              static_cast<size_t>(oldSize - index) * sizeof(T));
      Construct(m_data + index, count);
    }
    for (int i = 0; i < count; ++i) m_data[index + i] = copy;
  }

  // Removes `count` elements from `index` on; the capacity stays.
  void RemoveAt(int index, int count = 1) {
    int tail = m_size - (index + count);
    Destroy(m_data + index, count);
    if (tail > 0)
      memmove(static_cast<void*>(m_data + index), static_cast<const void*>(m_data + index + count),
              static_cast<size_t>(tail) * sizeof(T));
    m_size -= count;
  }

 private:
  static T* Allocate(int count) {
    return CheckAllocation(static_cast<T*>(malloc(static_cast<size_t>(count) * sizeof(T))));
  }

  static void Construct(T* slots, int count) {
    if (count <= 0) return;
    memset(static_cast<void*>(slots), 0, static_cast<size_t>(count) * sizeof(T));
    if (!std::is_trivially_default_constructible<T>::value) {
      for (int i = 0; i < count; ++i) ::new (static_cast<void*>(slots + i)) T();
    }
  }

  static void Destroy(T* slots, int count) {
    if (!std::is_trivially_destructible<T>::value) {
      for (int i = 0; i < count; ++i) slots[i].~T();
    }
  }

  T* m_data;
  int32_t m_size;
  int32_t m_maxSize;
  int32_t m_growBy;
};
