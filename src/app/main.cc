// The quellmark service process. Its only inputs are the platform's folders and Tolvane's
// preferences file; command-line arguments are accepted and ignored.

#include "app/app.h"
#include "runtime/application.h"

int main(int argc, char** argv) {
  quellmark::App app;
  return quellmark::RunServiceApplication(app, argc, argv);
}
