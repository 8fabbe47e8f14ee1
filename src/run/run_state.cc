#include "run/run_state.h"

#include <cstring>

namespace run {

void copyCut(char* buf, int size, const char* text) {
  if (buf == nullptr || size <= 0) return;
  if (text == nullptr) text = "";
  const std::size_t n = strnlen(text, static_cast<std::size_t>(size - 1));
  std::memcpy(buf, text, n);
  buf[n] = '\0';
}

}  // namespace run
