// Spheres that show materials and maps, traced beside the window's thread.
//
// A picture is known by a number that changes with what it shows (LookPrint) and by its side. What
// was wished last is traced first; wishes beyond kMaxWishes are dropped, the oldest first, and so
// are pictures beyond kMaxPictures, all at once. For the window's thread.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

#include <QImage>
#include <QObject>

#include "host/scene/material.h"

class LookPreviews {
public:
    static constexpr size_t kMaxWishes = 64, kMaxPictures = 4096;

    struct Key {
        uint64_t print = 0;
        int side = 0;  // pixels
        friend auto operator<=>(const Key&, const Key&) = default;
    };

    // made: a picture has come.
    explicit LookPreviews(std::function<void(Key)> made);
    // What is being traced is given up.
    ~LookPreviews();
    LookPreviews(const LookPreviews&) = delete;

    // Null: there is none yet.
    const QImage* Find(Key key) const;
    // Whether it is there or on its way.
    bool IsWished(Key key) const;
    // material: a copy that nobody else holds (Dravin/viewport/view_materials.h).
    void Wish(Key key, std::shared_ptr<Mtl> material);
    // Nothing is wished any more; pictures stay.
    void DropWishes();

private:
    struct Job {
        Key key;
        std::shared_ptr<Mtl> material;
    };
    void Work();
    void Take(const Job& job, const QImage& image);

    std::function<void(Key)> m_made;
    QObject m_receiver;  // of what the worker sends
    std::map<Key, QImage> m_pictures;

    mutable std::mutex m_mutex;  // of what follows
    std::condition_variable m_wake;
    std::deque<Job> m_wishes;  // the newest last
    Key m_traced;
    bool m_isTracing = false, m_ends = false;
    std::thread m_worker;  // last: it uses all the others
};

// Traced with one sample after the other; null where isStale() said so in between.
QImage TraceSphere(Mtl& material, int side, const std::function<bool()>& isStale);
