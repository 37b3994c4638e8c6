#include "map_page.h"

#include "page_text.h"

namespace fabric_map {

namespace {

/** Opens an element of the page that holds data: the browser neither shows nor runs them. */
void open_data(std::ostream &out, const std::string &id) {
  out << "<script type=\"application/json\" id=\"" << id << "\">";
}

void close_data(std::ostream &out) {
  out << "</script>\n";
}

} // namespace

PageWriter::PageWriter(std::ostream &out) : out_(out) {
  out_ << kPageBegin;
}

void PageWriter::add(const Vsan &vsan) {
  open_data(out_, "vsan-" + std::to_string(vsan.id));
  vsans_.push_back(write_vsan(vsan, out_));
  close_data(out_);
}

void PageWriter::finish() {
  open_data(out_, "fabric");
  write_fabric(vsans_, out_);
  close_data(out_);
  out_ << kPageEnd;
}

} // namespace fabric_map
