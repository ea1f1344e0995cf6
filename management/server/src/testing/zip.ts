export interface GivenEntry {
  name: string;
  data: Buffer;
  size: number;
  flags?: number;
}

/** A ZIP archive of compressed entries as they are given, true or not. */
export function zipOf(...entries: GivenEntry[]): Buffer {
  const locals: Buffer[] = [];
  const centrals: Buffer[] = [];
  for (const { name, data, size, flags = 0 } of entries) {
    const head = Buffer.alloc(26);
    head.writeUInt16LE(0x800 | flags, 2);
    head.writeUInt16LE(8, 4);
    head.writeUInt32LE(data.length, 14);
    head.writeUInt32LE(size, 18);
    head.writeUInt16LE(Buffer.byteLength(name), 22);
    const rest = Buffer.alloc(14);
    rest.writeUInt32LE(Buffer.concat(locals).length, 10);
    centrals.push(Buffer.from("PK\x01\x02\x14\x00"), head, rest, Buffer.from(name));
    locals.push(Buffer.from("PK\x03\x04"), head, Buffer.from(name), data);
  }
  const end = Buffer.alloc(22);
  end.write("PK\x05\x06");
  end.writeUInt16LE(entries.length, 8);
  end.writeUInt16LE(entries.length, 10);
  end.writeUInt32LE(Buffer.concat(centrals).length, 12);
  end.writeUInt32LE(Buffer.concat(locals).length, 16);
  return Buffer.concat([...locals, ...centrals, end]);
}
