// The classes that the system brings along, so that scenes, scripts and panels find and make them.
#pragma once

class ClassRegistry;

// Once a session.
void RegisterDravinClasses(ClassRegistry& classes);
