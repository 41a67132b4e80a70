// The test programs' start. What doctest prints goes out as it is written, not from a buffer at the
// exit, so that a program ended from outside (a timeout, a kill, a crash of the process) still shows
// how far it got; a failure with no output at all then means the program never ran.
#define DOCTEST_CONFIG_IMPLEMENT
#include <doctest/doctest.h>

#include <cstdio>

int main(int argc, char** argv) {
  setvbuf(stdout, nullptr, _IONBF, 0);
  return doctest::Context(argc, argv).run();
}
