// Huge pages behind large arrays. First touch of small pages, and reads at random places of them,
// cost several times as much.
#pragma once

#include <cstddef>
#include <vector>

// Asks the kernel for them behind memory that nobody has touched yet; a hint, without effect on
// less than one such page.
void WantHugePages(void* memory, size_t bytes);

// array.resize(size), in huge pages where new memory is taken.
template <class T>
void ResizeInHugePages(std::vector<T>& array, size_t size) {
    if (size > array.capacity()) {
        array.reserve(size);
        size_t held = array.size();
        WantHugePages(array.data() + held, (size - held) * sizeof(T));
    }
    array.resize(size);
}
