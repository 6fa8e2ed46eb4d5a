#pragma once

// The part of the Windows headers that the public headers and the client use. It lets a compiler that
// has no Windows SDK lay out the interfaces by MSVC's rules.
using BOOL = int;
using BYTE = unsigned char;
using WORD = unsigned short;
using DWORD = unsigned long;
using UINT = unsigned int;
using LONG = long;
using LONGLONG = long long;
using ULONGLONG = unsigned long long;
using HANDLE = void*;
using HWND = struct HWND__*;
using PCWSTR = const wchar_t*;
using HRESULT = LONG;

#define WINAPI
#define FALSE 0
#define TRUE 1

extern "C" {
HANDLE GetProcessHeap();
void* HeapAlloc(HANDLE heap, DWORD flags, unsigned long long bytes);
BOOL HeapFree(HANDLE heap, DWORD flags, void* block);
[[noreturn]] void ExitProcess(UINT code);
}

inline LONG InterlockedIncrement(LONG volatile* value) {
  return __atomic_add_fetch(value, 1, __ATOMIC_SEQ_CST);
}
inline LONG InterlockedDecrement(LONG volatile* value) {
  return __atomic_sub_fetch(value, 1, __ATOMIC_SEQ_CST);
}
