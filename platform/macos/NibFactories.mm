#include "platform/macos/NibFactories.h"

namespace quorvin {

ApplicationFactories& nibFactories() {
  static ApplicationFactories factories;
  return factories;
}

}  // namespace quorvin
