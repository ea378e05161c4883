#import <Foundation/Foundation.h>

#include <iostream>

#import "tests/macos/facts/Fact.h"

// macos_facts: each fact's name and its limit in seconds.
// macos_facts NAME [SEEN]: its line of the table, with what somebody else has seen or by trying.
int main(int argc, char** argv) {
  using namespace quorvin::facts;
  for (const auto& list : {systemFacts(), encoderFacts(), streamFacts()}) {
    for (const auto& fact : list) {
      if (argc == 1) std::cout << fact.name << " " << fact.limitS << "\n";
      if (argc == 1 || fact.name != std::string(argv[1])) continue;
      @autoreleasepool {
        const auto [seen, agrees] = argc > 2 ? Outcome{argv[2]} : fact.attempt();
        std::cout << "| " << fact.question << " | " << fact.countedOn << " | " << seen << " | "
                  << agrees << " |\n";
      }
    }
  }
}
