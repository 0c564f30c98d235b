// The process-wide singletons: created on first use, deleted at exit in the
// reverse order of their creation. Any thread.
#pragma once

#include "common/Guard.h"
#include "common/Relaxed.h"

// Empty base of a singleton class T, which befriends it and keeps its constructor
// and destructor to itself.
template <typename T> class Singleton {
  public:
    // The one object of the process, created by the first call. Never null.
    static T *instance() {
        T *object = Observe(_instance);
        return object ? object : _Create();
    }

  protected:
    Singleton() = default;
    ~Singleton() = default;

  private:
    // Deletes the instance at exit. Its static instance is made together with the
    // object, not at program start, so that the exit order is the creation order
    // reversed.
    class CGarbo {
      public:
        CGarbo() = default;
        ~CGarbo() {
            T *object = RelaxedLoad(_instance);
            Publish(_instance, nullptr);
            delete object;
        }
        CGarbo(const CGarbo &) = delete;
        CGarbo &operator=(const CGarbo &) = delete;
    };

    static T *_Create() {
        CGuard guard(m_SingletonMutex);
        if (T *object = RelaxedLoad(_instance))
            return object;
        T *object = new T;
        static CGarbo garbo;
        Publish(_instance, object);
        return object;
    }

    inline static T *_instance = nullptr;
    inline static CMutex m_SingletonMutex{""};
};
