// SPDX-License-Identifier: Apache-2.0
// A host in C#. Build it for x86: quorvel.dll is a 32-bit library, and a 64-bit process cannot load it.
using System;
using System.Runtime.InteropServices;

static class Quorvel {
  const string Library = "quorvel";  // quorvel.dll on Windows, libquorvel.so elsewhere

  // Texts that the library returns are its own: as IntPtr, because a returned string would be freed by the marshaller.
  [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
  public static extern IntPtr quorvelVersion();
  [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
  public static extern IntPtr quorvelSimdTarget();
  // Arrays of numbers are pinned for the time of the call and not copied.
  [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
  public static extern int rgbFromBayer(ushort[] src, uint width, uint height, uint pitch, [Out] ushort[] r,
                                        [Out] ushort[] g, [Out] ushort[] b, int method);
  [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
  public static extern uint TstSum32(uint[] data, uint nBytes);
}

static class Host {
  const uint Width = 128, Height = 96, Samples = Width * Height;
  const int BayerGradient = 1;

  static int Main() {
    var frame = new ushort[Samples];
    for (uint y = 0; y < Height; ++y)
      for (uint x = 0; x < Width; ++x) frame[y * Width + x] = (ushort)((x * 37 + y * 101 + x * y) % 4096);
    ushort[] r = new ushort[Samples], g = new ushort[Samples], b = new ushort[Samples];
    int status = Quorvel.rgbFromBayer(frame, Width, Height, Width, r, g, b, BayerGradient);
    if (status != 0) {
      Console.Error.WriteLine("rgbFromBayer: {0}", status);
      return 1;
    }
    const int Bytes = (int)Samples * sizeof(ushort);
    var words = new uint[3 * Bytes / sizeof(uint)];
    Buffer.BlockCopy(r, 0, words, 0, Bytes);
    Buffer.BlockCopy(g, 0, words, Bytes, Bytes);
    Buffer.BlockCopy(b, 0, words, 2 * Bytes, Bytes);
    Console.WriteLine("quorvel {0}, {1}: checksum {2:x8}", Marshal.PtrToStringAnsi(Quorvel.quorvelVersion()),
                      Marshal.PtrToStringAnsi(Quorvel.quorvelSimdTarget()), Quorvel.TstSum32(words, 3 * Bytes));
    return 0;
  }
}
