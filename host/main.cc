// SPDX-License-Identifier: Apache-2.0
#include "host/commands/commands.h"
#include "host/io/system.h"

int main(int argc, char** argv) { return quorvel::host::run(quorvel::host::utf8Arguments(argc, argv)); }
