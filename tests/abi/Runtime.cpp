// What a program in MSVC's ABI needs of that compiler's library, which is not at hand.
#include <windows.h>

#include <cstddef>

extern "C" {
int _fltused = 0;
int _purecall() {
  ExitProcess(79);
}
void* memset(void* target, int value, size_t bytes) {
  for (size_t i = 0; i < bytes; ++i) static_cast<volatile BYTE*>(target)[i] = static_cast<BYTE>(value);
  return target;
}
void* memcpy(void* target, const void* source, size_t bytes) {
  for (size_t i = 0; i < bytes; ++i)
    static_cast<volatile BYTE*>(target)[i] = static_cast<const BYTE*>(source)[i];
  return target;
}
}

void* operator new(size_t bytes) {
  return HeapAlloc(GetProcessHeap(), 0, bytes);
}
void operator delete(void* block) noexcept {
  HeapFree(GetProcessHeap(), 0, block);
}
void operator delete(void* block, size_t) noexcept {
  operator delete(block);
}

int main();

extern "C" void Start() {
  ExitProcess(static_cast<UINT>(main()));
}
