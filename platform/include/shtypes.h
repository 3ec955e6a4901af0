// Item identifier lists: the shell's binary paths.
#pragma once

#include <winnt.h>

#pragma pack(push, 1)
typedef struct _SHITEMID {
  USHORT cb;  // bytes, this member included; 0 ends a list
  BYTE abID[1];
} SHITEMID;
typedef struct _ITEMIDLIST {
  SHITEMID mkid;
} ITEMIDLIST;
#pragma pack(pop)
static_assert(sizeof(ITEMIDLIST) == 3);

typedef ITEMIDLIST *LPITEMIDLIST, *PIDLIST_ABSOLUTE, *PIDLIST_RELATIVE, *PITEMID_CHILD;
typedef const ITEMIDLIST *LPCITEMIDLIST, *PCIDLIST_ABSOLUTE, *PCUIDLIST_RELATIVE, *PCUITEMID_CHILD,
    *PCUITEMID_CHILD_ARRAY;

typedef enum tagSTRRET_TYPE { STRRET_WSTR = 0, STRRET_OFFSET = 1, STRRET_CSTR = 2 } STRRET_TYPE;
typedef struct _STRRET {
  UINT uType;
  union {
    LPWSTR pOleStr;  // from the task allocator
    UINT uOffset;    // of a text in the item
    char cStr[MAX_PATH];
  };
} STRRET;
