#include "platform/control/machine.h"
int main() {
  return 0;
}
