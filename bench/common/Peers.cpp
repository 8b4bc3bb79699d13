#include "Peers.h"

#include <stdexcept>

namespace ktbench {

Peer::~Peer() = default;

namespace {
using Factory = std::unique_ptr<Peer> (*)();
const Factory kFactories[] = {makeKtSipPeer, makeOsip2Peer, makeSofiaPeer, makeBelleSipPeer};
}  // namespace

std::vector<std::string> peerNames() {
    std::vector<std::string> names;
    for (Factory f : kFactories) {
        std::unique_ptr<Peer> p = f();
        if (p) names.push_back(p->name());
    }
    return names;
}

std::unique_ptr<Peer> makePeer(const std::string& name) {
    for (Factory f : kFactories) {
        std::unique_ptr<Peer> p = f();
        if (p && name == p->name()) return p;
    }
    throw std::runtime_error("unknown library " + name);
}

}  // namespace ktbench
