// Clean-up of statics at process exit through ACE's object manager.
#ifndef KTSIP_TORVANE_ACE_CLEANUP_H
#define KTSIP_TORVANE_ACE_CLEANUP_H

namespace Torvane {

/// Registers clean-up functions that ACE's object manager runs at process exit.
class AceCleanupLogger {
public:
    typedef void (*CleanupFunction)(void* object);
    /// Creates a registrar whose clean-ups are logged under `name`.
    explicit AceCleanupLogger(const char* name);
    /// Registers `function(object)` to run at exit. Returns false when ACE refused it
    /// (for example because the object manager is already shutting down).
    bool registerCleanup(CleanupFunction function, void* object) const;
    /// Registers deletion of `object` at exit.
    template <class T>
    bool registerDelete(T* object) const {
        return registerCleanup(&deleteObject<T>, object);
    }

private:
    template <class T>
    static void deleteObject(void* p) { delete static_cast<T*>(p); }
    const char* m_Name;
};

}  // namespace Torvane

#endif
