// Meshes in scene files.
#pragma once

#include "host/chunks/chunk_reader.h"
#include "host/chunks/chunk_writer.h"
#include "host/geom/mesh.h"

// Into the chunk that is open, which holds chunks.
void WriteMesh(ChunkWriter& out, const Mesh& mesh);
// A mesh whose indices are out of range makes the file malformed.
Mesh ReadMesh(ChunkReader& in);
