#!/usr/bin/env python3
"""Writes the damaged WAVE corpus beside this script, and expected.txt with what the reader
must make of each file: "name error channels rate frames".

Three sound files are damaged in every way below, deterministically:
  cut   the file ends at each field boundary of its headers, inside the data and at its end;
  flip  one bit of each header byte is inverted (bit = offset % 8);
  size  the top byte of each size field is set to 0x80 | byte and to 0xff.
The expectation comes from a model of the reading rules written here independently of the
C++ reader: chunk walk, format checks, the codec choice by tag and bits, and a length that is
the data size limited to what the file holds, in whole frames. Run it again after a change of
those rules: python3 make_corpus.py
"""
import os
import struct

HERE = os.path.dirname(os.path.abspath(__file__))
INT_MAX = 2**31 - 1
UNKNOWN_LENGTH = 0xFFFFFF00
PCM_GUID = bytes([0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x10, 0x00,
                  0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71])


class Builder:
    """Bytes of a file, with the offset of every header field and of every size field."""

    def __init__(self):
        self.data = bytearray()
        self.fields = []  # offsets where a header field starts
        self.sizes = []   # offsets of 32-bit size fields

    def field(self, raw, is_size=False):
        self.fields.append(len(self.data))
        if is_size:
            self.sizes.append(len(self.data))
        self.data += raw

    def chunk_head(self, cid, size):
        self.field(cid)
        self.field(struct.pack('<I', size), True)


def samples(count, width):
    out = bytearray()
    for i in range(count):
        v = ((i * 7919) % 65536 - 32768) << (8 * width - 16) if width >= 2 else (i * 37) % 256
        out += v.to_bytes(width, 'little', signed=width >= 2)
    return bytes(out)


def fmt_fields(b, tag, channels, rate, bits, extra=b''):
    align = channels * ((bits + 7) // 8)
    for raw in (struct.pack('<H', tag), struct.pack('<H', channels), struct.pack('<I', rate),
                struct.pack('<I', rate * align), struct.pack('<H', align), struct.pack('<H', bits)):
        b.field(raw)
    if extra:
        b.field(extra)


def pcm16_with_list():
    """16-bit stereo, 18-byte format chunk, an odd LIST chunk before the data."""
    b = Builder()
    data = samples(48, 2)
    body = 4 + 8 + 18 + 8 + 6 + 8 + len(data)
    b.field(b'RIFF'); b.field(struct.pack('<I', body), True); b.field(b'WAVE')
    b.chunk_head(b'fmt ', 18); fmt_fields(b, 1, 2, 44100, 16, struct.pack('<H', 0))
    b.chunk_head(b'LIST', 5); b.field(b'INFOx\0')
    b.chunk_head(b'data', len(data))
    header = len(b.data)
    b.data += data
    return b, header


def extensible24():
    """24-bit mono in the extensible header."""
    b = Builder()
    data = samples(12, 3)
    ext = struct.pack('<HHI', 22, 24, 4) + PCM_GUID
    body = 4 + 8 + 40 + 8 + len(data)
    b.field(b'RIFF'); b.field(struct.pack('<I', body), True); b.field(b'WAVE')
    b.chunk_head(b'fmt ', 40); fmt_fields(b, 0xFFFE, 1, 48000, 24)
    b.field(ext[:2]); b.field(ext[2:4]); b.field(ext[4:8]); b.field(ext[8:])
    b.chunk_head(b'data', len(data))
    header = len(b.data)
    b.data += data
    return b, header


def float_after_outer_chunk():
    """32-bit float stereo behind an outer chunk, 16-byte format chunk."""
    b = Builder()
    data = b''.join(struct.pack('<f', ((i % 9) - 4) / 4.0) for i in range(20))
    b.chunk_head(b'JUNK', 4); b.field(b'junk')
    body = 4 + 8 + 16 + 8 + len(data)
    b.field(b'RIFF'); b.field(struct.pack('<I', body), True); b.field(b'WAVE')
    b.chunk_head(b'fmt ', 16); fmt_fields(b, 3, 2, 22050, 32)
    b.chunk_head(b'data', len(data))
    header = len(b.data)
    b.data += data
    return b, header


def le16(b, at):
    return struct.unpack_from('<H', b, at)[0]


def le32(b, at):
    return struct.unpack_from('<I', b, at)[0]


def model(b):
    """(error, channels, rate, frames) as the reading rules give them."""
    pos = 0
    while True:  # outer chunks up to the RIFF WAVE form
        if len(b) - pos < 12:
            return 3, 0, 0, 0
        head = b[pos:pos + 12]
        pos += 12
        if head[0:4] == b'RIFF' and head[8:12] == b'WAVE':
            break
        size = (le32(head, 4) + 1) & ~1
        if size < 5:
            return 3, 0, 0, 0
        pos += size - 4

    def find(cid):
        nonlocal pos
        while len(b) - pos >= 8:
            this, size = b[pos:pos + 4], le32(b, pos + 4)
            pos += 8
            if this == cid:
                return size
            pos += (size + 1) & ~1
        return None

    size = find(b'fmt ')
    if size is None or size < 16 or size > 8192 or len(b) - pos < size:
        return 3, 0, 0, 0
    block = b[pos:pos + size]
    pos += size + (size & 1)
    tag, channels, rate = le16(block, 0), le16(block, 2), le32(block, 4)
    bits = le16(block, 14)
    extra = le16(block, 16) if size >= 18 else 0
    if tag == 0xFFFE and extra >= 22 and size >= 40 and block[24:40] == PCM_GUID:
        tag = 1
    data_bytes = find(b'data')
    if data_bytes is None or not 1 <= channels <= 255 or not 1 <= rate <= 196000:
        return 3, 0, 0, 0
    if tag == 1:
        width = 1 if bits < 9 else 2 if bits < 17 else 4 if bits > 24 else 3
    elif tag == 3:
        if bits != 32:
            return 3, 0, 0, 0
        width = 4
    elif tag in (6, 7, 34):
        return 7, 0, 0, 0
    else:
        return 5, 0, 0, 0
    held = max(len(b) - pos, 0)
    usable = held if data_bytes > UNKNOWN_LENGTH else min(data_bytes, held)
    return 0, channels, rate, min(usable // (width * channels), INT_MAX)


def variants(name, built):
    b, header = built
    whole = bytes(b.data)
    cuts = sorted(set(b.fields + [header, header + 1, (header + len(whole)) // 2, len(whole)]))
    for at in cuts:
        yield f'{name}-cut-{at:04d}.wav', whole[:at]
    for at in range(header):
        damaged = bytearray(whole)
        damaged[at] ^= 1 << (at % 8)
        yield f'{name}-flip-{at:04d}.wav', bytes(damaged)
    for at in b.sizes:
        for top in (0x80 | whole[at + 3], 0xFF):
            damaged = bytearray(whole)
            damaged[at + 3] = top
            yield f'{name}-size-{at:04d}-{top:02x}.wav', bytes(damaged)


def main():
    for old in os.listdir(HERE):
        if old.endswith('.wav'):
            os.remove(os.path.join(HERE, old))
    lines = []
    for name, built in (('pcm16', pcm16_with_list()), ('ext24', extensible24()),
                        ('float', float_after_outer_chunk())):
        for file_name, content in variants(name, built):
            with open(os.path.join(HERE, file_name), 'wb') as out:
                out.write(content)
            lines.append('%s %d %d %d %d' % ((file_name,) + model(content)))
    with open(os.path.join(HERE, 'expected.txt'), 'w') as out:
        out.write('# name error channels rate frames (made by make_corpus.py)\n')
        out.write('\n'.join(lines) + '\n')


if __name__ == '__main__':
    main()
