#!/usr/bin/env python3
"""Builds the sample holdings records of the demo and the tests: one holdings record per
bibliographic record of sample-bib.mrc (two for the first three), linked through 004, and
sample-workfile.mrc, the holdings record a cataloguer saves for bib 12515882.
Run from data/: python3 make_sample_holdings.py"""

FT, RT, SD = b'\x1e', b'\x1d', b'\x1f'


def record(leader_tail, fields):
    directory, body = b'', b''
    for tag, data in fields:
        data = data + FT
        directory += tag.encode() + b'%04d%05d' % (len(data), len(body))
        body += data
    base = 24 + len(directory) + 1
    length = base + len(body) + 1
    return b'%05d' % length + leader_tail[:7] + b'%05d' % base + leader_tail[12:] + directory + FT + body + RT


def holdings(hid, bib, sigel, callno):
    fields = [('001', hid.encode())] if hid else []
    return record(b'nx  a22     1n 4500', fields + [
        ('004', bib.encode()),
        ('008', b'2411210u    8   4001aa   0      0'[:32]),
        ('852', b'  ' + SD + b'b' + sigel.encode() + SD + b'h' + callno.encode()),
    ])


def bib_ids(path):
    data = open(path, 'rb').read()
    ids = []
    for r in data.split(RT)[:-1]:
        base = int(r[12:17])
        d = r[24:base - 1]
        for i in range(0, len(d), 12):
            if d[i:i + 3] == b'001':
                length, start = int(d[i + 3:i + 7]), int(d[i + 7:i + 12])
                ids.append(r[base + start:base + start + length - 1].decode())
    return ids


out = b''
for n, bib in enumerate(bib_ids('sample-bib.mrc')):
    out += holdings('h%d-1' % n, bib, 'Tes', 'QA76.%d' % (n + 1))
    if n < 3:
        out += holdings('h%d-2' % n, bib, 'Tesm', 'Mag %d' % (n + 1))
open('sample-holdings.mrc', 'wb').write(out)
open('sample-workfile.mrc', 'wb').write(holdings('', '12515882', 'Tes', 'QA76.73.P98'))
