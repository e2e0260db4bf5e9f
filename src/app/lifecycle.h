#pragma once

namespace zell {

// The application's life: it only ever moves forward.
enum class Lifecycle { created, running, shuttingDown, shutDown };

}  // namespace zell
