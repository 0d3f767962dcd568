#include "Converter.h"
#include "Posix/Interruption.h"
#include "Posix/StandardStreams.h"

int main(int argc, char* argv[]) {
  Posix::PrepareStandardStreams();
  Posix::IgnoreWriteSignals();
  return RunConverter(argc, argv);
}
