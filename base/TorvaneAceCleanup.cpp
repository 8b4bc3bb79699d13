// Clean-up at process exit through ACE's object manager.
//
// ACE's object manager runs its at-exit list when it is destroyed. The Debian
// build of ACE creates the manager as a static of libACE, so it exists as soon
// as the library is loaded and is destroyed during static destruction, on the
// main thread, after our own statics (libACE is loaded first). Builds of ACE
// that expect the application's main to create the manager
// (ACE_HAS_NONSTATIC_OBJECT_MANAGER) are handled too: when no manager exists
// yet, the first registration calls ACE::init() and arranges ACE::fini() at exit.
//
// Clean-ups run only when the process ends normally (exit() or a return from
// main on the main thread); _exit(), abort() and fatal signals skip them.
// They must not log: by the time they run, loggers may have been destroyed.
#include "TorvaneAceCleanup.h"

#include <ace/Init_ACE.h>
#include <ace/Object_Manager.h>

#include <cstdlib>
#include <mutex>
#include <new>

#include "TorvaneLogger.h"

TORVANE_FILE_LOGGER("calvoran.kt.AceCleanupLogger")

namespace Torvane {

namespace {

// One registration: ACE keys its list by object address, so each registration
// gets its own node (the same object may be registered twice).
struct CleanupNode {
    AceCleanupLogger::CleanupFunction function;
    void* object;
};

void runCleanup(void* node, void*) {
    CleanupNode* n = static_cast<CleanupNode*>(node);
    n->function(n->object);
    delete n;
}

void finiAce() { ACE::fini(); }

void ensureObjectManager() {
    static std::once_flag once;
    std::call_once(once, [] {
        if (ACE_Object_Manager::starting_up()) {
            ACE::init();
            std::atexit(&finiAce);
        }
    });
}

}  // namespace

AceCleanupLogger::AceCleanupLogger(const char* name) : m_Name(name ? name : "") {}

bool AceCleanupLogger::registerCleanup(CleanupFunction function, void* object) const {
    if (function == nullptr) return false;
    ensureObjectManager();
    CleanupNode* node = new (std::nothrow) CleanupNode{function, object};
    if (node == nullptr) return false;
    if (ACE_Object_Manager::at_exit(node, &runCleanup, nullptr) != 0) {
        delete node;
        TORVANE_DEBUG(fileLogger(), "Clean-up at exit refused for " << m_Name);
        return false;
    }
    TORVANE_DEBUG(fileLogger(), "Clean-up at exit registered for " << m_Name);
    return true;
}

}  // namespace Torvane
