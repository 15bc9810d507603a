// The system's classes in scene files.
#pragma once

class SceneStorage;

void RegisterDravinStorage(SceneStorage& storage);
