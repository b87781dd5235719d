// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef TRX_FUNCTION_PROGRESSBAR_H
#define TRX_FUNCTION_PROGRESSBAR_H

#include <pthread.h>

#include <atomic>
#include <cstddef>

#include "trx/trx_records.h"

/// How far a transfer is. The worker writes the first three fields while the starter reads them;
/// everything else belongs to the starter's thread.
struct TRXProgressBar {
  std::atomic<TRX_U8> m_percentage;  ///< 0 to 100
  std::atomic<TRX_U32> m_result;     ///< 0 success, else an NVMe status or 1
  std::atomic<TRX_U32> m_status;     ///< 1 the worker runs, 0 it has finished
  std::atomic<bool> m_stop;          ///< the starter asks the worker to end early
  void *(*m_function)(void *);
  pthread_t m_thread_handle;
  void (*startThread)(TRXProgressBar *bar, void *(*function)(void *), void *argument, std::size_t size);
  void (*setPercentage)(TRXProgressBar *bar, TRX_U8 percentage);
  void (*setResult)(TRXProgressBar *bar, TRX_U32 result);
  TRX_U8 (*getPercentage)(const TRXProgressBar *bar);
  TRX_U32 (*getResult)(const TRXProgressBar *bar);
  TRX_U32 (*getStatus)(const TRXProgressBar *bar);
  void (*closeThread)(TRXProgressBar *bar);
  void (*destructor)(TRXProgressBar *bar);
  void *m_argument;  ///< of `m_function`
  bool m_joinable;   ///< a thread was started and nobody has joined it
};

/// @return a record at rest, or null when memory is short; ended by its `destructor`
TRXProgressBar *CreateTRXProgressBarInstance();

/// Run `function(argument)` on a thread of its own; waits for an earlier one of this record first.
/// A thread that cannot be had is a finished transfer with result 1.
void ProgressBar_startThread(TRXProgressBar *bar, void *(*function)(void *), void *argument,
                             std::size_t size);

/// Mark the transfer as finished and wait for its thread. The worker calls this about itself, too;
/// it does not wait for itself then.
void ProgressBar_closeThread(TRXProgressBar *bar);

/// Wait for the thread, without marking anything.
void ProgressBar_join(TRXProgressBar *bar);

/// Wait for the thread and free the record.
void ProgressBar_destructor(TRXProgressBar *bar);

/// The records by adapter index.
void progressbar_management_init();

/// The record of an adapter, made on first use; null when memory is short. For an index above 32 a
/// shared one that tells of a finished, failed transfer.
TRXProgressBar *progressbar_management_get_instance(TRX_U8 adapter);

/// Wait for what runs, and free every record.
void progressbar_management_close();

#endif  // TRX_FUNCTION_PROGRESSBAR_H
