// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef TRX_FUNCTION_FILE_H
#define TRX_FUNCTION_FILE_H

#include <cstddef>
#include <cstdlib>
#include <memory>

#include "trx/trx_records.h"

/// An image file, opened and read once, whole, and handed out in steps of one length. Whatever becomes
/// of the file meanwhile: what was checked is what is handed out.
struct TRXFileBuffer {
  struct Freer {
    void operator()(TRX_U8 *memory) const { std::free(memory); }
  };

  std::unique_ptr<TRX_U8, Freer> m_data;  ///< the step, page-aligned for the driver; null until one was read
  TRX_U32 m_step_length;                  ///< bytes per step
  TRX_U32 m_offset;                       ///< bytes handed out
  TRX_U32 m_crc;                          ///< of the whole image, as it is sent to the controller
  TRX_U32 m_checksum_ret;                 ///< word sum of the whole image; 0 good
  const char *m_path;                     ///< the caller's, without quotes
  std::unique_ptr<TRX_U8[]> m_image;      ///< the whole file
  std::size_t m_length;                   ///< bytes of the file
  TRX_U32 (*open_for_read)(TRXFileBuffer *buffer, char *path, TRX_U32 step);
  TRX_U8 *(*read)(TRXFileBuffer *buffer);
  TRX_U32 (*get_offset)(const TRXFileBuffer *buffer);
  std::size_t (*get_file_length)(const TRXFileBuffer *buffer);
  void (*close)(TRXFileBuffer *buffer);
  TRX_U32 (*seek)(TRXFileBuffer *buffer, TRX_U32 offset);  ///< nobody needs it; stays null
};

/// @return an empty buffer, or null when memory is short; ended by its `close`
TRXFileBuffer *CreateTRXFileBufferInstance();

/// Read a file whole. Why it cannot be had is said on standard error: it cannot be opened or read, is no
/// regular file, is so long that `m_offset` could not tell its end, changes meanwhile, or memory is short.
/// @param path single quotes around it are taken off, in place; it must outlive the buffer
/// @param step bytes
/// @return 0, or 1 when it cannot be had
TRX_U32 TRXFileBuffer_open_for_read(TRXFileBuffer *buffer, char *path, TRX_U32 step);

/// Hand out the next step. After a short one the rest of the step keeps what it held; it is zero when
/// there was none before.
/// @return the step, always at the same place; null when there is none
TRX_U8 *TRXFileBuffer_read(TRXFileBuffer *buffer);

/// Bytes handed out, in whole steps; 0 for null.
TRX_U32 PTRXFileBuffer_get_offset(const TRXFileBuffer *buffer);

/// Bytes of the file; 0 when none was read.
std::size_t TRXFileBuffer_get_file_length(const TRXFileBuffer *buffer);

/// Free what was read, and the object.
void TRXFileBuffer_close(TRXFileBuffer *buffer);

#endif  // TRX_FUNCTION_FILE_H
