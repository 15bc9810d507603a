// A scatter object's own chunks, to and from a file.
#pragma once

class ChunkWriter;
class FieldReader;
class TDravin;

// Into the chunk of values that is open. Edited items only in custom edit mode; what the last build
// made of them goes with them. Sets the object's identifier where it has none.
void WriteObjectChunks(ChunkWriter& out, TDravin& object);
// From the chunk of values that is open. The last conversions of older files, and the curves, wait
// until the whole scene is there.
void ReadObjectChunks(FieldReader& in, TDravin& object);
