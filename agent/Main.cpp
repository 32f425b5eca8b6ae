// The program fyrl3: reads a switch's configuration, lets the library make the L3 interface table
// of it, and prints the table or answers one question out of it.

#include <exception>
#include <string>

#include "agent/ExitCode.h"
#include "agent/Interrupt.h"
#include "agent/Options.h"
#include "agent/Output.h"
#include "agent/Program.h"

int main(int argc, char** argv) {
  Agent::occupyClosedDescriptors();
  Agent::endOnInterrupt();
  try {
    Agent::Options options;
    if (const auto help = Agent::parseOptions(argc, argv, options)) {
      Agent::printOut(help->text);
      return Agent::exitSuccess;
    }
    return Agent::run(options);
  } catch (const Agent::UsageError& error) {
    Agent::printError("fyrl3: " + std::string(error.what()) + "\nTry 'fyrl3 --help'.\n");
  } catch (const std::exception& error) {
    Agent::printError("fyrl3: " + std::string(error.what()) + "\n");
  }
  return Agent::exitUnusable;
}
