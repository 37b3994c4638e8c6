#include "managed_objects.h"

#include <fstream>
#include <sstream>

std::vector<ManagedObject> managed_objects() {
  std::vector<ManagedObject> objects;
  std::ifstream list(FCS_OBJECT_LIST);
  for (std::string line; std::getline(list, line);) {
    ManagedObject object;
    std::istringstream words(line);
    words >> object.suffix >> object.name;
    for (std::string word; words >> word;) {
      object.syntax += (object.syntax.empty() ? "" : " ") + word;
    }
    objects.push_back(object);
  }
  return objects;
}
