// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef TRX_FUNCTION_FILE_H
#define TRX_FUNCTION_FILE_H

#include "trx/trx_records.h"

/// Hands out a file in steps of one length. The buffer is page-aligned, so that the driver can be
/// given it as it is.
struct TRXFileBuffer {
  TRX_U8 *m_data;          ///< `m_step_length` bytes; null when that is 0
  TRX_U32 m_step_length;   ///< bytes per read
  TRX_U32 m_offset;        ///< bytes handed out
  TRX_U32 m_crc;           ///< of the whole image, as it is sent to the controller
  TRX_U32 m_checksum_ret;  ///< word sum of the whole image; 0 good
  int m_file;              ///< -1 when closed
  TRX_U32 (*open_for_read)(TRXFileBuffer *buffer, char *path, TRX_U32 step);
  TRX_U8 *(*read)(TRXFileBuffer *buffer);
  TRX_U32 (*get_offset)(const TRXFileBuffer *buffer);
  TRX_U32 (*get_file_length)(const TRXFileBuffer *buffer);
  void (*close)(TRXFileBuffer *buffer);
  TRX_U32 (*seek)(TRXFileBuffer *buffer, TRX_U32 offset);  ///< nobody needs it; stays null
};

/// @return a closed buffer, or null when memory is short; ended by its `close`
TRXFileBuffer *CreateTRXFileBufferInstance();

/// Open a file from its start, in place of the one that was open.
/// @param path single quotes around it are taken off, in place
/// @return 0, or 1 when it cannot be opened
TRX_U32 TRXFileBuffer_open_for_read(TRXFileBuffer *buffer, char *path, TRX_U32 step);

/// Read the next step. After a short one the rest of the buffer keeps what it held; it is zero when
/// nothing was read into it before.
/// @return the buffer, always the same; null when there is none
TRX_U8 *TRXFileBuffer_read(TRXFileBuffer *buffer);

/// Bytes handed out, in whole steps; 0 for null.
TRX_U32 PTRXFileBuffer_get_offset(const TRXFileBuffer *buffer);

/// Bytes of the file; 0 when none is open.
TRX_U32 TRXFileBuffer_get_file_length(const TRXFileBuffer *buffer);

/// Close the file and free the buffer and the object.
void TRXFileBuffer_close(TRXFileBuffer *buffer);

#endif  // TRX_FUNCTION_FILE_H
