# SPDX-License-Identifier: Apache-2.0
"""A host in Python: host.py [LIBRARY]. On Windows the interpreter has to be a 32-bit one, as quorvel.dll is."""
import ctypes
import os
import sys

WIDTH, HEIGHT, BAYER_GRADIENT = 128, 96, 1
SAMPLES = WIDTH * HEIGHT

beside = os.path.join(os.path.dirname(os.path.abspath(__file__)), "quorvel.dll")
default = beside if os.name == "nt" else "libquorvel.so"
quorvel = ctypes.CDLL(sys.argv[1] if len(sys.argv) > 1 else default)  # CDLL: cdecl; WinDLL would be stdcall

samples_pointer = ctypes.POINTER(ctypes.c_uint16)
quorvel.quorvelVersion.restype = quorvel.quorvelSimdTarget.restype = ctypes.c_char_p
quorvel.rgbFromBayer.argtypes = [samples_pointer] + [ctypes.c_uint] * 3 + [samples_pointer] * 3 + [ctypes.c_int]
quorvel.TstSum32.argtypes = [ctypes.c_void_p, ctypes.c_uint]
quorvel.TstSum32.restype = ctypes.c_uint32

frame = (ctypes.c_uint16 * SAMPLES)(*((x * 37 + y * 101 + x * y) % 4096 for y in range(HEIGHT) for x in range(WIDTH)))
planes = ((ctypes.c_uint16 * SAMPLES) * 3)()  # red, green, blue
status = quorvel.rgbFromBayer(frame, WIDTH, HEIGHT, WIDTH, *planes, BAYER_GRADIENT)
if status != 0:
    sys.exit(f"rgbFromBayer: {status}")
version, target = quorvel.quorvelVersion().decode(), quorvel.quorvelSimdTarget().decode()
print(f"quorvel {version}, {target}: checksum {quorvel.TstSum32(planes, ctypes.sizeof(planes)):08x}")
