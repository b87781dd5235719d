// SPDX-License-Identifier: GPL-3.0-or-later
#include "function/progressbar.h"

#include <array>
#include <cstring>
#include <new>

#include "device/common/DeviceManagement.h"
#include "function/message.h"

namespace {

std::array<TRXProgressBar *, TRX_MAX_DEVICES> m_flash_list;
TRXProgressBar default_pb;

// The record whose worker this thread is.
thread_local const TRXProgressBar *workerOf = nullptr;

void *run(void *argument) {
  auto *bar = static_cast<TRXProgressBar *>(argument);
  workerOf = bar;
  return bar->m_function(bar->m_argument);
}

void ProgressBar_setPercentage(TRXProgressBar *bar, TRX_U8 percentage) { bar->m_percentage = percentage; }
void ProgressBar_setResult(TRXProgressBar *bar, TRX_U32 result) { bar->m_result = result; }
TRX_U8 ProgressBar_getPercentage(const TRXProgressBar *bar) { return bar->m_percentage; }
TRX_U32 ProgressBar_getResult(const TRXProgressBar *bar) { return bar->m_result; }
TRX_U32 ProgressBar_getStatus(const TRXProgressBar *bar) { return bar->m_status; }

void setUp(TRXProgressBar *bar, TRX_U32 result) {
  bar->m_percentage = 0;
  bar->m_result = result;
  bar->m_status = 0;
  bar->startThread = ProgressBar_startThread;
  bar->setPercentage = ProgressBar_setPercentage;
  bar->setResult = ProgressBar_setResult;
  bar->getPercentage = ProgressBar_getPercentage;
  bar->getResult = ProgressBar_getResult;
  bar->getStatus = ProgressBar_getStatus;
  bar->closeThread = ProgressBar_closeThread;
  bar->destructor = ProgressBar_destructor;
}

}  // namespace

TRXProgressBar *CreateTRXProgressBarInstance() {
  auto *bar = new (std::nothrow) TRXProgressBar{};
  if (bar) setUp(bar, 0);
  return bar;
}

void ProgressBar_startThread(TRXProgressBar *bar, void *(*function)(void *), void *argument, std::size_t) {
  ProgressBar_join(bar);
  bar->m_percentage = 0;
  bar->m_result = 0;
  bar->m_stop = false;
  bar->m_status = 1;
  bar->m_function = function;
  bar->m_argument = argument;
  const int failure = pthread_create(&bar->m_thread_handle, nullptr, run, bar);
  bar->m_joinable = failure == 0;
  if (bar->m_joinable) return;
  printError(TRX_MESSAGE_ERROR, "A firmware transfer cannot be started: %s.\n", std::strerror(failure));
  bar->m_result = 1;
  bar->m_status = 0;
}

void ProgressBar_join(TRXProgressBar *bar) {
  if (workerOf == bar || !bar->m_joinable) return;
  pthread_join(bar->m_thread_handle, nullptr);
  bar->m_joinable = false;
}

void ProgressBar_closeThread(TRXProgressBar *bar) {
  bar->m_status = 0;
  ProgressBar_join(bar);
}

void ProgressBar_destructor(TRXProgressBar *bar) {
  ProgressBar_join(bar);
  delete bar;
}

void progressbar_management_init() {
  m_flash_list.fill(nullptr);
  setUp(&default_pb, 1);
}

TRXProgressBar *progressbar_management_get_instance(TRX_U8 adapter) {
  if (adapter >= m_flash_list.size()) return &default_pb;
  TRXProgressBar *&bar = m_flash_list[adapter];
  if (!bar) bar = CreateTRXProgressBarInstance();
  return bar;
}

void progressbar_management_close() {
  for (TRXProgressBar *&bar : m_flash_list) {
    if (TRXProgressBar *present = bar) present->destructor(present);
    bar = nullptr;
  }
}
