// The property ids of a contact's phone and mail fields, as the contacts database stores them, for tests
// that fill contacts field by field.
#pragma once
#include <stdint.h>

namespace fieldids {

const uint32_t kWorkId = 0x3a08001f;
const uint32_t kWork2Id = 0x4007001f;
const uint32_t kHomeId = 0x3a09001f;
const uint32_t kHome2Id = 0x3a2f001f;
const uint32_t kMobileId = 0x3a1c001f;
const uint32_t kHomeFaxId = 0x3a25001f;
const uint32_t kWorkFaxId = 0x3a24001f;
const uint32_t kPagerId = 0x4009001f;
const uint32_t kCarId = 0x3a1e001f;
const uint32_t kRadioId = 0x3a1d001f;
const uint32_t kAssistantId = 0x4004001f;
const uint32_t kEmail1Id = 0x4083001f;
const uint32_t kEmail2Id = 0x4093001f;
const uint32_t kEmail3Id = 0x40a3001f;

}  // namespace fieldids
