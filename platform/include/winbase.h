// kernel32, by subject.
#pragma once

#include <errhandlingapi.h>
#include <fileapi.h>
#include <handleapi.h>
#include <heapapi.h>
#include <libloaderapi.h>
#include <memoryapi.h>
#include <processenv.h>
#include <processthreadsapi.h>
#include <securitybaseapi.h>
#include <synchapi.h>
#include <sysinfoapi.h>
