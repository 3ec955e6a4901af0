#include <cstdlib>
#include <limits>

#include "platform/kernel/api_call.h"

int WINAPI MulDiv(int number, int numerator, int denominator) {
  KV_API_NOFAIL(MulDiv, -1, number, numerator, denominator);
  if (denominator == 0) return -1;
  const int64_t product = int64_t{number} * numerator;
  const int64_t divisor = std::abs(int64_t{denominator});
  const int64_t rounded = (std::abs(product) + divisor / 2) / divisor;
  const int64_t result = (product < 0) != (denominator < 0) ? -rounded : rounded;
  const bool fits =
      result <= std::numeric_limits<int>::max() && result >= std::numeric_limits<int>::min();
  return fits ? static_cast<int>(result) : -1;
}
