#!/usr/bin/env python3
"""no_network.py TEST-PROGRAM: runs it under strace and fails if it, or a program that it starts, opens a socket that is not
local to this machine."""
import os
import re
import subprocess
import sys
import tempfile

LOCAL = {"AF_UNIX", "AF_NETLINK"}  # the kernel's own, which the bus daemon asks whether audit is on

with tempfile.NamedTemporaryFile(mode="r") as trace:
    environment = dict(os.environ, ASAN_OPTIONS=os.environ.get("ASAN_OPTIONS", "") + ":detect_leaks=0")  # it traces, too
    done = subprocess.run(["strace", "-f", "--seccomp-bpf", "-e", "trace=socket,socketpair", "-o", trace.name, sys.argv[1]],
                          env=environment)
    lines = trace.read().splitlines()
sockets = [(match.group(1), line) for line in lines if (match := re.search(r"socket(?:pair)?\((\w+)", line))]
strange = [line for family, line in sockets if family not in LOCAL]
print("\n".join(strange) or f"{len(sockets)} sockets, all of them local")
sys.exit(done.returncode or (1 if strange or not sockets else 0))
