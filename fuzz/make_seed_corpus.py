#!/usr/bin/env python3
"""Writes the seed corpus of the fuzz targets into fuzz/corpus/. The fuzzers add what they find
to working copies; entries worth keeping are copied back by hand."""
import gzip
import hashlib
import io
import os
import tarfile
import zipfile

HERE = os.path.dirname(os.path.abspath(__file__))


def record(kind, address_bytes, address, data):
    count = address_bytes + len(data) + 1
    total = count + sum(address.to_bytes(address_bytes, 'big')) + sum(data)
    return 'S%s%02X%0*X%s%02X\r\n' % (kind, count, 2 * address_bytes, address,
                                      data.hex().upper(), ~total & 0xFF)


def image(blocks, wide, size=32):
    kind, end, width = ('3', '7', 4) if wide else ('2', '8', 3)
    text = record('0', 2, 0, b'seed')
    for address, data in blocks:
        for offset in range(0, len(data), size):
            text += record(kind, width, address + offset, data[offset:offset + size])
    return (text + record(end, width, 0, b'')).encode()


def manifest(md5, version='1.2.3'):
    return ('<?xml version="1.0"?>\n<package version="1.0">\n  <product>strelo-002</product>\n'
            '  <releasenotes>seed</releasenotes>\n  <version>%s</version>\n'
            '  <date>2024-01-01</date>\n  <md5>%s</md5>\n</package>\n' % (version, md5)).encode()


def tar_bytes(members, mode='w'):
    buffer = io.BytesIO()
    with tarfile.open(fileobj=buffer, mode=mode, format=tarfile.USTAR_FORMAT) as archive:
        for name, data in members:
            info = tarfile.TarInfo(name)
            info.size = len(data)
            info.mtime = 1700000000
            archive.addfile(info, io.BytesIO(data))
    return buffer.getvalue()


def zip_bytes(members):
    buffer = io.BytesIO()
    with zipfile.ZipFile(buffer, 'w', zipfile.ZIP_DEFLATED) as archive:
        for name, data in members:
            archive.writestr(zipfile.ZipInfo(name, (2024, 1, 1, 0, 0, 0)), data)
    return buffer.getvalue()


def write(target, name, data):
    folder = os.path.join(HERE, 'corpus', target)
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, name), 'wb') as file:
        file.write(data)


counting = bytes(range(40))
narrow = image([(0x1000, counting), (0x1028, bytes(8)), (0x2001, b'\x11\x22\x33')], False)
wide = image([(0x80000000, counting), (0x80001000, bytes(range(100)))], True)
unsorted = image([(0x3000, b'\xAA' * 4), (0x1000, counting), (0x1008, b'\x55' * 16)], False)

write('fuzz_records', 'narrow', b'\x00' + narrow)
write('fuzz_records', 'wide', b'\x01' + wide)
write('fuzz_records', 'unsorted-overlapping', b'\x00' + unsorted)
write('fuzz_records', 'cr-only', b'\x00' + narrow.replace(b'\r\n', b'\r'))
write('fuzz_records', 'signed-pairs', b'\x00' + record('0', 2, 0, b'x').encode() +
      b'S206001000 1-1E9\r\n')

md5 = hashlib.md5(narrow).hexdigest().upper()
members = [('manifest.xml', manifest(md5)), ('firmware.mhx', narrow)]
write('fuzz_package', 'structured-narrow', b'\x04' + manifest('@MD5@') + b'\x00' + narrow)
write('fuzz_package', 'structured-wide', b'\x06' + manifest('@MD5@') + b'\x00' + wide)
write('fuzz_package', 'raw-image', b'\x01' + narrow)
write('fuzz_package', 'tar', b'\x00' + tar_bytes(members))
write('fuzz_package', 'tar-gz', b'\x00' + gzip.compress(tar_bytes(members), mtime=0))
write('fuzz_package', 'zip', b'\x00' + zip_bytes(members))
