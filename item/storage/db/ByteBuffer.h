// ByteBuffer: the shared byte buffer of a contact (categories, Note). A handle to a reference-counted
// block {length, pointer, count}; one process-wide empty block stands for no data, so copying a
// buffer never copies bytes.
#pragma once

#include <windows.h>

#include <stdint.h>

struct ByteBlock {
  uint32_t length;
  BYTE* data;
  uint32_t refCount;
};

class ByteBuffer {
 public:
  ByteBuffer();
  // A new block holding a copy of `length` bytes; no bytes give the empty block.
  ByteBuffer(const void* data, uint32_t length);
  ByteBuffer(const ByteBuffer& other);
  ByteBuffer& operator=(const ByteBuffer& other);
  ~ByteBuffer();

  uint32_t GetLength() const { return m_block->length; }
  const BYTE* GetData() const { return m_block->data; }
  bool IsEmpty() const { return m_block->length == 0; }
  // Same length and same bytes.
  bool Equals(const ByteBuffer& other) const;
  // Shares the empty block again.
  void Empty();
  // Replaces the contents by a copy of `length` bytes.
  void Assign(const void* data, uint32_t length);

  const ByteBlock* Block() const { return m_block; }
  static ByteBlock* EmptyBlock();

 private:
  static void Release(ByteBlock* block);

  ByteBlock* m_block;
};
