// The quellmark service process. Its only inputs are the platform's folders and Tolvane's
// preferences file; command-line arguments are accepted and ignored.

#if __has_include(<malloc.h>)
#include <malloc.h>
#endif

#include "app/app.h"
#include "runtime/application.h"

int main(int argc, char** argv) {
#if defined(M_MMAP_THRESHOLD)
  // Large texts (the file, its settings, the alarm list) live only while the alarms load. A fixed
  // threshold keeps them in mappings of their own, so their memory goes back to the system when
  // they are freed instead of staying in the heap for the service's whole life.
  mallopt(M_MMAP_THRESHOLD, 1 << 20);
#endif
  quellmark::App app;
  return quellmark::RunServiceApplication(app, argc, argv);
}
