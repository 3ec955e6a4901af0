// The subset of the Windows interface that the product uses, for machines that are not Windows.
// Names, layouts and values are those of the SDK; only W functions (and few A functions) exist,
// under their full names.
#pragma once

#include <rpc.h>
#include <shellapi.h>
#include <winbase.h>
#include <windef.h>
#include <winerror.h>
#include <wingdi.h>
#include <winnetwk.h>
#include <winnls.h>
#include <winnt.h>
#include <winreg.h>
#include <winspool.h>
#include <winsvc.h>
#include <winuser.h>
#include <winver.h>
