/* SPDX-License-Identifier: GPL-3.0-or-later */
/*
 * Lists the virtual disks of every controller: id, name, status, size.
 *
 *   cc list_volumes.c -o list_volumes $(pkg-config --cflags --libs trx_api)
 *
 * or with CMakeLists.txt beside it. Without a controller at hand: trx_sim run -- ./list_volumes
 */
#include <stdio.h>
#include <string.h>
#include <trx/trx_api.h>

enum { AT_ONCE = 23 }; /* so many records fit into a reply */

/* A request for volumes, with room for the records of the answer behind its header. */
typedef union {
  NVME_VD_Info_Request request;
  TRX_U8 room[sizeof(RequestHeader) + AT_ONCE * sizeof(NVME_VD_Info)];
} VolumeList;

static const char *status_word(TRX_U8 status) {
  static const char *const words[] = {"Functional",     "Degrade",           "Deleted",    "Missing",
                                      "Offline",        "Partially Optimal", "Foreign",    "Importable",
                                      "Not Importable", "Initialization",    "Rebuilding", "Error Handling"};
  return status < sizeof words / sizeof *words ? words[status] : "Unknown";
}

static void print_volume(const NVME_VD_Info *volume) {
  const double gib = (double)volume->LBA.value * volume->SectorSize / (1 << 30);
  /* The name ends with a zero byte only when it is shorter than its field. */
  printf("  %3u  %-16.16s  %-17s  %8.1f GiB\n", volume->ID, (const char *)volume->Name,
         status_word(volume->Status), gib);
}

static TRX_U32 list_volumes(TRX_U8 adapter) {
  TRX_U16 start = 0;
  for (;;) {
    VolumeList list;
    TRX_U32 status;
    memset(&list, 0, sizeof list);
    list.request.header.start = start;
    list.request.header.numRequested = AT_ONCE;
    status = TRX_VD_GetInfo(adapter, &list.request);
    if (status != 0) return status;
    for (TRX_U8 i = 0; i < list.request.header.numReturned && i < AT_ONCE; ++i) {
      NVME_VD_Info volume;
      memcpy(&volume, list.room + sizeof(RequestHeader) + i * sizeof volume, sizeof volume);
      print_volume(&volume);
    }
    if (list.request.header.numReturned < AT_ONCE || list.request.header.nextStart <= start) return 0;
    start = list.request.header.nextStart;
  }
}

/* What the library has to say goes to standard error, and the list stays clean. */
static void say(void *context, int severity, const char *text) {
  (void)context;
  (void)severity;
  fputs(text, stderr);
}

int main(void) {
  int failed = 0;
  TRX_SetMessageHandler(say, NULL);
  TRX_Init();
  for (TRX_U8 adapter = 0; adapter < TRX_Adapter_GetCount(); ++adapter) {
    TRX_U32 status;
    printf("%s\n", TRX_Adapter_GetDevicePath(adapter));
    status = list_volumes(adapter);
    if (status == 0) continue;
    fflush(stdout);
    fprintf(stderr, "%s: the volumes cannot be read: %s (%u)\n", TRX_Adapter_GetDevicePath(adapter),
            TRX_StatusText(status, TRX_STATUS_FIRMWARE), (unsigned)status);
    failed = 1;
  }
  TRX_Final();
  return failed;
}
