// Where the product's own files lie.
#pragma once

#include <string>

// The main folder: $DRAVIN_HOME, else the setting MainDir, else the data folder of the installation
// (share/dravin beside the program's folder, or data in a folder above it). Empty when there is
// none.
std::string MainFolder();
// Whether it is there and holds the libraries.
bool HasMainFolder();
// What to tell otherwise: where it was looked for, and the remedy.
std::string NoMainFolder();
// Files of the libraries below the main folder.
std::string DistMapFolder();   // distribution maps and their index.dat
std::string GeometryFolder();  // geometry templates and their index.dat
std::string EffectFolder();    // effects that ship with the product
