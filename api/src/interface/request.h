// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef TRX_INTERFACE_REQUEST_H
#define TRX_INTERFACE_REQUEST_H

#include <cstddef>
#include <initializer_list>

#include "device/common/Device.h"

struct ToController {
  const void *data = nullptr;
  TRX_U16 length = 0;
};

struct FromController {
  void *data = nullptr;
  TRX_U16 length = 0;
};

template <typename Record>
ToController sending(const Record *record) {
  static_assert(sizeof(Record) <= TRX_PAGE_SIZE);
  return {record, static_cast<TRX_U16>(sizeof(Record))};
}

template <typename Record>
FromController receiving(Record *record) {
  static_assert(sizeof(Record) <= TRX_PAGE_SIZE);
  return {record, static_cast<TRX_U16>(sizeof(Record))};
}

/// Length of a list: `headBytes` and `count` records. In 16 bits on purpose; long lists wrap.
template <typename Record>
TRX_U16 listLength(std::size_t headBytes, std::size_t count) {
  return static_cast<TRX_U16>(headBytes + count * sizeof(Record));
}

/// Status of what is refused here: nothing was sent.
constexpr TRX_U32 kRefused = 1;

/// The device of an adapter; the default device where there is none.
_Device *deviceOf(TRX_U8 adapter);

/// The device of an adapter that talks NVMe without an envelope.
_Device *nvmeDeviceOf(TRX_U8 adapter);

/// Send one vendor request: its words (group, sub-code, argument) and its data. A null pointer where
/// there is data is refused.
TRX_U32 vendorRequest(TRX_U8 adapter, std::initializer_list<TRX_U32> words, ToController in,
                      FromController out = {});

/// Send a list request: its header goes out, the header and `header.numRequested` records come back.
template <typename Record, typename Request>
TRX_U32 listRequest(TRX_U8 adapter, std::initializer_list<TRX_U32> words, Request *request) {
  if (!request) return kRefused;
  const TRX_U16 length = listLength<Record>(sizeof request->header, request->header.numRequested);
  return vendorRequest(adapter, words, sending(&request->header), {request, length});
}

/// The header that asks for the one object `id`.
inline RequestHeader oneObject(TRX_U16 id) {
  RequestHeader header{};
  header.requestType = TRX_REQUEST_ONE_OBJECT;
  header.start = id;
  header.numRequested = 1;
  return header;
}

#endif  // TRX_INTERFACE_REQUEST_H
