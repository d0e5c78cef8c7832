#!/usr/bin/env python3
"""Writes the seed corpus of the protocol fuzz targets (receive assembler, OSI 7 reply dispatch,
boot-loader answers) into fuzz/corpus/. Entries the fuzzers found that reach new code are merged
in beside these by `scripts/run-fuzz.sh` runs and copied back by hand."""
import os

HERE = os.path.dirname(os.path.abspath(__file__))


def short(control, address):
    return bytes([0x10, control, address, (control + address) & 0xFF, 0x16])


def long(control, address, data, length=None):
    length = len(data) + 2 if length is None else length
    checksum = (control + address + sum(data)) & 0xFF
    return bytes([0x68, length, length, 0x68, control, address]) + bytes(data) + bytes([checksum, 0x16])


def osi7(group, application, endpoint, kind, parameters):
    block = bytes([endpoint, kind]) + bytes(parameters)
    return bytes([0x00, 5 + len(block), group, application, 1, 1, len(block)]) + block


def write(name, target, data):
    folder = os.path.join(HERE, 'corpus', target)
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, name), 'wb') as out:
        out.write(data)


def assembler_seeds():
    versions = osi7(0xFE, 0x93, 0xFF, 0x85, [2, 1, 0, 1, 4, 2])
    # The first byte seeds how the stream is split into deliveries.
    write('ack', 'fuzz_assembler', b'\x07\xe5')
    write('status-of-link', 'fuzz_assembler', b'\x01' + short(0x0B, 1))
    write('versions-reply', 'fuzz_assembler', b'\x02' + long(0x08, 1, versions))
    write('length-mismatch', 'fuzz_assembler', b'\x03' + long(0x08, 1, versions)[:2] + b'\x20' +
          long(0x08, 1, versions)[3:])
    write('length-two', 'fuzz_assembler', b'\x04' + long(0x08, 1, []))
    write('length-one', 'fuzz_assembler', b'\x05' + bytes([0x68, 1, 1, 0x68, 0x08, 1]) + short(0x0B, 1) * 3)
    write('noise-then-ack', 'fuzz_assembler', b'\x06\x3f\x00\x16\xe5' + short(0x0B, 1))
    write('bad-checksum', 'fuzz_assembler', b'\x08' + bytes([0x10, 0x0B, 1, 0, 0x16]) + b'\xe5')


def dispatch_seeds():
    # The first byte is the head's OSI 7 address.
    write('actual-value', 'fuzz_osi7_dispatch', b'\x01' + osi7(4, 0x85, 1, 0x37, [1, 107, 3]))
    write('defects-none', 'fuzz_osi7_dispatch', b'\x01' + osi7(4, 0x81, 1, 0x02, [0]))
    write('defects-two', 'fuzz_osi7_dispatch', b'\x01' + osi7(4, 0x81, 1, 0x02, [2, 108, 110]))
    write('luminosity', 'fuzz_osi7_dispatch', b'\x01' + osi7(4, 0x85, 1, 0x31, [51]))
    write('currents', 'fuzz_osi7_dispatch', b'\x01' + osi7(4, 0x82, 1, 0x82, [0xE8, 3, 0x9C, 4, 0x1E, 5]))
    write('foreign-end-point', 'fuzz_osi7_dispatch', b'\x02' + osi7(4, 0x85, 1, 0x37, [1, 107, 3]))
    write('versions', 'fuzz_osi7_dispatch', b'\x01' + osi7(0xFE, 0x93, 0xFF, 0x85, [3, 0, 1, 1, 5, 0]))
    write('uid-grouped', 'fuzz_osi7_dispatch', b'\x01' + osi7(0xFE, 0x93, 0xFF, 0x87, list(range(1, 13))))
    write('uid-short', 'fuzz_osi7_dispatch', b'\x01' + osi7(0xFE, 0x93, 0xFF, 0x87, [1, 2, 3, 10, 11, 12]))
    write('unknown-group', 'fuzz_osi7_dispatch', b'\x01' + osi7(1, 0x85, 1, 0x37, [1, 107, 3]))


def bootloader_seeds():
    # Operations: 0 request (kind, retries, ...), 1 answer batch (length, bytes), 2 time-out,
    # 3 start, 4 toggle failing writes.
    enquiry_then_ack = bytes([0, 0, 3, 1, 1, 0x06])
    erase_with_naks = bytes([0, 2, 2, 1, 1, 0x15, 1, 2, 0x15, 0x06, 2, 2, 2])
    write_block = bytes([0, 3, 3, 0, 0, 0, 0x40, 0x00, 4, 1, 2, 3, 4, 1, 1, 0x06, 3])
    failing_writes = bytes([4, 0, 0, 1, 2, 4, 2, 2, 1, 0])
    write('enquiry-ack', 'fuzz_bootloader', enquiry_then_ack)
    write('erase-naks', 'fuzz_bootloader', erase_with_naks)
    write('write-block', 'fuzz_bootloader', write_block)
    write('failing-writes', 'fuzz_bootloader', failing_writes)


if __name__ == '__main__':
    assembler_seeds()
    dispatch_seeds()
    bootloader_seeds()
