#include "film/CommandLine.h"

int main(int argc, char** argv) { return film::Main(argc, argv); }
