#include "storage/db/ByteBuffer.h"

#include "foundation/DebugUtils.h"

#include <stdlib.h>
#include <string.h>

namespace {

// Never counted down to zero: the release path knows it by its address.
ByteBlock g_emptyBlock = {0, nullptr, 1};

}  // namespace

ByteBlock* ByteBuffer::EmptyBlock() { return &g_emptyBlock; }

ByteBuffer::ByteBuffer() : m_block(&g_emptyBlock) {}

ByteBuffer::ByteBuffer(const void* data, uint32_t length) : m_block(&g_emptyBlock) { Assign(data, length); }

ByteBuffer::ByteBuffer(const ByteBuffer& other) : m_block(other.m_block) {
  if (m_block != &g_emptyBlock) ++m_block->refCount;
}

ByteBuffer& ByteBuffer::operator=(const ByteBuffer& other) {
  if (m_block == other.m_block) return *this;
  ByteBlock* old = m_block;
  m_block = other.m_block;
  if (m_block != &g_emptyBlock) ++m_block->refCount;
  Release(old);
  return *this;
}

ByteBuffer::~ByteBuffer() { Release(m_block); }

bool ByteBuffer::Equals(const ByteBuffer& other) const {
  if (m_block == other.m_block) return true;
  if (m_block->length != other.m_block->length) return false;
  return memcmp(m_block->data, other.m_block->data, m_block->length) == 0;
}

void ByteBuffer::Empty() {
  Release(m_block);
  m_block = &g_emptyBlock;
}

void ByteBuffer::Assign(const void* data, uint32_t length) {
  ByteBlock* old = m_block;
  if (data == nullptr || length == 0) {
    m_block = &g_emptyBlock;
  } else {
    ByteBlock* block = CheckAllocation(static_cast<ByteBlock*>(malloc(sizeof(ByteBlock))));
    block->data = CheckAllocation(static_cast<BYTE*>(malloc(length)));
    memcpy(block->data, data, length);
    block->length = length;
    block->refCount = 1;
    m_block = block;
  }
  Release(old);
}

void ByteBuffer::Release(ByteBlock* block) {
  if (block == &g_emptyBlock) return;
  if (--block->refCount == 0) {
    free(block->data);
    free(block);
  }
}
