#!/usr/bin/env python3
"""read_archive.py FILE [OUTGROWN]: checks a flat archive byte by byte and lists its records.

Shares no code with the engine. Prints "name TAB size TAB sha1 of the payload" for every record, in the
order of the list; says what is wrong and exits with 1 at the first fault. OUTGROWN is how often the index
or the name table has moved to a larger block: each time the header's count of records goes down by one.
The archive must not have reused a free block.
"""

import hashlib
import struct
import sys

NONE = 0xFFFFFFFFFFFFFFFF
NO_NAME, NAME_TABLE = 0xFFFFFFFF, 0xFFFFFFFE
SEED = 0x5E91A7C3


def keystream(words):
    """The MT19937 of 1998, with the seeding of its time: two steps of an LCG for each word."""
    state, seed = [], SEED
    for _ in range(624):
        word = seed & 0xFFFF0000
        seed = (69069 * seed + 1) & 0xFFFFFFFF
        state.append(word | seed >> 16)
        seed = (69069 * seed + 1) & 0xFFFFFFFF
    for number in range(words):
        i = number % 624
        y = (state[i] & 0x80000000) | (state[(i + 1) % 624] & 0x7FFFFFFF)
        state[i] = state[(i + 397) % 624] ^ (y >> 1) ^ (0x9908B0DF if y & 1 else 0)
        y = state[i]
        y ^= y >> 11
        y ^= (y << 7) & 0x9D2C5680
        y ^= (y << 15) & 0xEFC60000
        yield (y ^ y >> 18) & 0xFFFFFFFF


def unscrambled(data):
    key = b"".join(struct.pack("<I", word) for word in keystream((len(data) + 3) // 4))
    return bytes(a ^ b for a, b in zip(data, key))


def check(condition, *what):
    if not condition:
        sys.exit("fault: " + " ".join(str(part) for part in what))


class Block:
    def __init__(self, data, position):
        check(position + 32 <= len(data), "no whole block at", position)
        fields = struct.unpack_from("<4I2Q", data, position)
        self.size, self.name, length, self.flags, self.next, self.prev = fields
        self.end = position + self.size
        check(length + 32 <= self.size and self.end <= len(data), "sizes of block", position)
        self.payload = data[position + 32:position + 32 + length]


def tiling(data):
    blocks, position = {}, 72
    while position < len(data):
        blocks[position] = Block(data, position)
        position = blocks[position].end
    check(position == len(data), "blocks end at", position)
    return blocks


def walk(blocks, head, tail):
    order, previous, position = [], NONE, head
    while position != NONE:
        check(position in blocks and position not in order, "link to", position)
        check(blocks[position].prev == previous, "prev of", position)
        order.append(position)
        previous, position = position, blocks[position].next
    check(tail == previous, "tail of the list")
    return order


def name_at(table, offset):
    end = table.find(b"\0", offset)
    check(offset < len(table) and end >= 0, "name at", offset)
    return table[offset:end].decode("utf-8")


def main(path, outgrown=0):
    with open(path, "rb") as file:
        data = file.read()
    check(data[:4] == b"wdgt", "type code")
    reserved, count, free_count, *lists, flags, last = struct.unpack_from("<3I6Q2I", data, 4)
    used_head, used_tail, free_head, free_tail, names_at, index_at = lists
    check(reserved == 0 and last == 0 and flags in (0, 1), "reserved fields or flags")
    blocks = tiling(data)
    used, free = walk(blocks, used_head, used_tail), walk(blocks, free_head, free_tail)
    check(sorted(used + free + [index_at, names_at]) == sorted(blocks), "every block has one place")
    check((len(used) - outgrown) & 0xFFFFFFFF == count, "record count", count, "for", len(used))
    check((len(free)) == free_count, "free count")
    for position in free:
        block = blocks[position]
        check((block.flags, block.name, block.payload) == (0, NO_NAME, b""), "free block", position)
    index, names = blocks[index_at], blocks[names_at]
    check((index.flags, index.name) == (1, NO_NAME), "index block")
    check((names.flags, names.name) == (1, NAME_TABLE), "name-table block")
    entries = list(struct.iter_unpack("<IIQ", index.payload))
    check(all(entry[1] == 0 for entry in entries), "reserved fields of the index")
    check({entry[2]: entry[0] for entry in entries} == {p: blocks[p].name for p in used}, "index entries")
    check(len(entries) == len(used), "entries of the index")
    folded = [name_at(names.payload, blocks[p].name).lower() for p in used]
    check(len(set(folded)) == len(folded), "names are distinct")
    for position in used:
        block = blocks[position]
        check(block.flags == 1, "record at", position, "is not in use")
        payload = unscrambled(block.payload) if flags else block.payload
        print(name_at(names.payload, block.name), len(payload), hashlib.sha1(payload).hexdigest(), sep="\t")


if __name__ == "__main__":
    main(sys.argv[1], *map(int, sys.argv[2:]))
