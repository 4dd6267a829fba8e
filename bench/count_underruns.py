#!/usr/bin/env python3
"""Counts underruns in a capture: runs of at least MIN_FRAMES frames of exact silence on every
channel between the first and the last sounding frame of a steady signal.
Usage: bench/count_underruns.py CAPTURE.wav MIN_FRAMES LABEL"""
import array, struct, sys

path, min_frames, label = sys.argv[1], int(sys.argv[2]), sys.argv[3]
data = open(path, 'rb').read()
pos, channels, bits, samples = 12, 2, 32, None
while pos + 8 <= len(data):
    tag, size = data[pos:pos + 4], struct.unpack('<I', data[pos + 4:pos + 8])[0]
    body = data[pos + 8:pos + 8 + size]
    if tag == b'fmt ':
        channels, bits = struct.unpack('<H', body[2:4])[0], struct.unpack('<H', body[14:16])[0]
    elif tag == b'data':
        samples = array.array({16: 'h', 32: 'i'}[bits], body[:len(body) // (bits // 8) * (bits // 8)])
    pos += 8 + size + (size & 1)
if samples is None:
    sys.exit("no capture")
frames = len(samples) // channels
silent = [not any(samples[f * channels:(f + 1) * channels]) for f in range(frames)]
first = next((f for f in range(frames) if not silent[f]), frames)
last = next((f for f in range(frames - 1, -1, -1) if not silent[f]), -1)
gaps, run = 0, 0
for f in range(first, last + 1):
    run = run + 1 if silent[f] else 0
    gaps += run == min_frames
print(f"underruns ({label}): {gaps} over {frames / 44100:.1f} s captured")
