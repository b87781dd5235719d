/* SPDX-License-Identifier: GPL-3.0-or-later */
/* Since 2.35 a throw asks the library for the unwind table of an address, and takes "not found" for the end
   of the program. This is how it was found before. */
#include <dlfcn.h>
#include <link.h>
#include <string.h>

#ifdef DLFO_STRUCT_HAS_EH_DBASE

struct Search {
  ElfW(Addr) address;
  struct dl_find_object *found;
};

static int holds(const struct dl_phdr_info *object, const ElfW(Phdr) * segment, ElfW(Addr) address) {
  return address - (object->dlpi_addr + segment->p_vaddr) < segment->p_memsz;
}

static int lookInto(struct dl_phdr_info *object, size_t size, void *data) {
  (void)size;
  const struct Search *search = data;
  const ElfW(Phdr) *code = NULL, *table = NULL;
  for (const ElfW(Phdr) *each = object->dlpi_phdr; each != object->dlpi_phdr + object->dlpi_phnum; ++each) {
    if (each->p_type == PT_LOAD && holds(object, each, search->address)) code = each;
    if (each->p_type == PT_GNU_EH_FRAME) table = each;
  }
  if (!code || !table) return 0;
  char *base = (char *)object->dlpi_addr;
  search->found->dlfo_map_start = base + code->p_vaddr;
  search->found->dlfo_map_end = base + code->p_vaddr + code->p_memsz;
  search->found->dlfo_eh_frame = base + table->p_vaddr;
  return 1;
}

int _dl_find_object(void *address, struct dl_find_object *found) {
  struct Search search = {(ElfW(Addr))address, found};
  memset(found, 0, sizeof *found);
  return dl_iterate_phdr(lookInto, &search) ? 0 : -1;
}

#endif
