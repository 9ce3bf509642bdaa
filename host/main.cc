// SPDX-License-Identifier: Apache-2.0
#include "host/commands/commands.h"

int main(int argc, char** argv) { return quorvel::host::run(argc, argv); }
