#include "map_dot.h"

#include "card.h"
#include "card_rows.h"
#include "legend.h"
#include "lines.h"

#include <algorithm>
#include <cmath>

namespace fabric_map {

namespace {

/** How many colours the legend shows on the width of a card. */
constexpr size_t kLegendColumns = 3;

/** Writes the cluster of a VSAN. */
class ClusterWriter {
public:
  ClusterWriter(std::ostream &out, const Vsan &vsan, Detail detail)
      : out_(out), vsan_(vsan), shows_ports_(detail == Detail::kPorts), wiring_(find_wiring(vsan)),
        lines_(shows_ports_ ? link_lines(vsan, wiring_) : bundle_lines(vsan, wiring_)) {
    find_idle_platforms();
    arrange();
  }

  size_t longest_row() const {
    return std::ranges::max_element(rows_, {}, [](const auto &row) { return row.size(); })->size();
  }

  void write() {
    out_ << "  subgraph cluster_vsan" << vsan_.id << " {\n"
         << "    graph [style=\"rounded,filled\", fillcolor=\"#f8fafc\", color=\"#cbd5e1\", "
            "margin=10, "
            "label=<"
         << title() << ">];\n";
    write_cards();
    write_rows();
    for (const Line &line : lines_) {
      write_line(line);
    }
    out_ << "  }\n";
  }

private:
  void find_idle_platforms() {
    std::vector<bool> is_attached(vsan_.platforms.size() + wiring_.strangers.size(), false);
    for (const Attachment &attachment : wiring_.attachments) {
      is_attached[attachment.device] = true;
    }
    for (size_t i = 0; i < vsan_.platforms.size(); ++i) {
      if (!is_attached[i]) {
        idle_.push_back(i);
      }
    }
  }

  /** The elements are cards, and so are the idle platforms together where devices are shown. */
  void arrange() {
    std::vector<std::pair<size_t, size_t>> links;
    for (const Line &line : lines_) {
      links.emplace_back(line.a.element, line.b.element);
    }
    const bool shows_idle = shows_ports_ && !idle_.empty();
    const size_t cards = vsan_.elements.size() + (shows_idle ? 1 : 0);
    rows_ = arrange_cards(std::max<size_t>(cards, 1), links);
    row_of_.resize(cards);
    for (size_t row = 0; row < rows_.size() && cards != 0; ++row) {
      for (const size_t card : rows_[row]) {
        row_of_[card] = row;
      }
    }
  }

  std::string title() const {
    size_t ports = 0;
    for (const Element &element : vsan_.elements) {
      ports += element.ports.size();
    }
    return R"(<FONT POINT-SIZE="13"><B>VSAN )" + std::to_string(vsan_.id) +
           "</B></FONT> &#160;discovery " + vsan_.discovery + " &#183; " +
           counted(vsan_.elements.size(), "element") + " &#183; " + counted(ports, "port") +
           " &#183; " + counted(vsan_.platforms.size(), "platform") +
           (idle_.empty() ? "" : ", " + std::to_string(idle_.size()) + " not attached") +
           R"(<BR ALIGN="LEFT"/>)";
  }

  std::string card(size_t index) const {
    if (index < vsan_.elements.size()) {
      return shows_ports_ ? element_card(vsan_, wiring_, index, linked_ports(index))
                          : summary_card(vsan_, wiring_, index);
    }
    return row_of_.empty() ? "<I>no elements</I>" : idle_card(vsan_, idle_);
  }

  LinkedPorts linked_ports(size_t element) const {
    LinkedPorts linked;
    for (const Line &line : lines_) {
      for (const auto &[end, other] : {std::pair(line.a, line.b), std::pair(line.b, line.a)}) {
        if (end.element == element) {
          (row_of_[other.element] < row_of_[element] ? linked.upper : linked.lower)
              .insert(end.port);
        }
      }
    }
    return linked;
  }

  std::string node(size_t card) const {
    return "e" + std::to_string(vsan_.id) + "_" + std::to_string(card);
  }

  void write_cards() {
    for (const auto &row : rows_) {
      for (const size_t index : row) {
        out_ << "    " << node(index) << " [label=<" << card(index) << ">];\n";
      }
    }
  }

  bool stays_in_row(const Line &line) const {
    return row_of_[line.a.element] == row_of_[line.b.element];
  }

  bool has_inner_lines(size_t row) const {
    return std::ranges::any_of(lines_, [&](const Line &line) {
      return row_of_[line.a.element] == row && stays_in_row(line);
    });
  }

  /** Below a row whose cards are linked to each other there is room for these links. */
  size_t ranks_below(size_t row) const { return has_inner_lines(row) ? 2 : 1; }

  void write_order(size_t above, size_t below, size_t ranks) {
    out_ << "    " << node(above) << " -- " << node(below)
         << " [style=invis, weight=0, minlen=" << ranks << "];\n";
  }

  /**
   * Invisible lines keep the rows below each other and the cards of a VSAN together. Cards that are
   * linked to others of their row keep their order.
   */
  void write_rows() {
    for (size_t row = 0; row < rows_.size(); ++row) {
      out_ << "    {rank=same; edge [style=invis];";
      const bool in_order = rows_.size() == 1 || has_inner_lines(row);
      for (size_t i = 0; i < rows_[row].size(); ++i) {
        out_ << (i == 0 ? " " : in_order ? " -- " : "; ") << node(rows_[row][i]);
      }
      out_ << "}\n";
    }
    for (size_t row = 1; row < rows_.size(); ++row) {
      for (const size_t card : rows_[row]) {
        write_order(rows_[row - 1][0], card, ranks_below(row - 1));
      }
    }
    for (size_t i = 1; i < rows_[0].size() && rows_.size() > 1; ++i) {
      write_order(rows_[0][i], rows_[1][0], ranks_below(0));
    }
  }

  std::string end(PortPlace place, const char *side) const {
    return node(place.element) + (shows_ports_ ? ":" + port_anchor(place.port) + ":" + side : "");
  }

  void write_edge(const std::string &from, const std::string &to, const Line &line,
                  const std::string &text) {
    out_ << "    " << from << " -- " << to << " [color=\"" << line.state->fill << "\"" << text
         << ", tooltip=\"" << line.tip << '"' << (is_online(*line.state) ? "" : ", style=dashed")
         << "];\n";
  }

  /** From the card above to the one below; within a row, by a knot below both. */
  void write_line(const Line &line) {
    const auto place = [this](PortPlace end) {
      const auto &row = rows_[row_of_[end.element]];
      return std::pair(row_of_[end.element], std::ranges::find(row, end.element) - row.begin());
    };
    const auto [first, second] =
        std::minmax(line.a, line.b, [&](PortPlace a, PortPlace b) { return place(a) < place(b); });
    const std::string label = "label=\"" + line.text + "\"";
    if (!stays_in_row(line)) {
      write_edge(end(first, "s"), end(second, "n"), line, ", " + label);
      return;
    }
    const std::string knot = "k" + std::to_string(vsan_.id) + "_" + std::to_string(knots_++);
    out_ << "    " << knot << " [color=\"" << line.state->fill << "\", "
         << (line.text.empty() ? "shape=point, width=0.05" : label) << "];\n";
    write_edge(end(first, "s"), knot + ":w", line, "");
    write_edge(end(second, "s"), knot + ":e", line, "");
  }

  std::ostream &out_;
  const Vsan &vsan_;
  bool shows_ports_;
  Wiring wiring_;
  std::vector<Line> lines_;
  std::vector<size_t> idle_; ///< Platforms that are attached to nothing.
  CardRows rows_;
  std::vector<size_t> row_of_;
  size_t knots_ = 0;
};

} // namespace

DotWriter::DotWriter(std::ostream &out, Detail detail) : out_(out), detail_(detail) {
  out_ << "graph fabric {\n"
          "  graph [charset=\"UTF-8\", fontname=\"Helvetica\", fontsize=9, bgcolor=\"white\", "
          "pad=0.2, nodesep=0.2, ranksep=0.4, pack=16, labeljust=l];\n"
          "  node [fontname=\"Helvetica\", fontsize=8, shape=plain];\n"
          "  edge [fontname=\"Helvetica\", fontsize=8, penwidth=1.6];\n";
}

void DotWriter::add(const Vsan &vsan) {
  ClusterWriter cluster(out_, vsan, detail_);
  cluster.write();
  ++vsans_;
  longest_row_ = std::max(longest_row_, cluster.longest_row());
}

void DotWriter::finish() {
  const auto columns = static_cast<size_t>(std::ceil(std::sqrt(static_cast<double>(vsans_))));
  out_ << "  packmode=\"array_i" << std::max<size_t>(columns, 1) << "\";\n  labelloc=b;\n  label=<"
       << legend(kLegendColumns * longest_row_) << ">;\n}\n";
}

} // namespace fabric_map
