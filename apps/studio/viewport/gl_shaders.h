// The programs of viewports.
//
// Pictures are drawn upside down, so that they are read with the top row first. Depth is 0 at the
// nearest plane and 1 at infinity or at the end of a parallel view.
#pragma once

// A mesh, or instances of it: rows of viewport_scene.h's TViewItem in `items`. Attributes: place,
// normal, mapping, colour, element, number of the item.
extern const char* const kMeshVertexShader;
extern const char* const kMeshFragmentShader;
// Lines and plain faces in camera space with colours.
extern const char* const kLineVertexShader;
extern const char* const kLineFragmentShader;
// The pixels of a TSplatBuffer among what is drawn.
extern const char* const kDotsVertexShader;
extern const char* const kDotsFragmentShader;
