#include "media/RenderScope.h"

namespace media {

namespace {
// Constant-initialised, so reading it never allocates (not even on first use).
thread_local bool insideRender = false;
} // namespace

RenderScope::RenderScope() {
    insideRender = true;
}

RenderScope::~RenderScope() {
    insideRender = false;
}

bool RenderScope::isActive() {
    return insideRender;
}

} // namespace media
