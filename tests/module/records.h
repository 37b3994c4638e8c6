/** Octets, and the records and messages of the FCS service, as texts to read and to write. */
#pragma once

#include <cstdint>
#include <string>
#include <vector>

using Bytes = std::vector<uint8_t>;
using Lines = std::vector<std::string>;

/**
 * Octets as text: parts separated by dots, each hexadecimal digits or a text in quotation marks,
 * and possibly how many times: 80.00*254.01, "a"*255. No octets are "".
 * \param shortest_text Octets that make a text where all of them may be characters.
 */
std::string text_of_octets(const Bytes &octets, size_t shortest_text = 3);
Bytes octets_of_text(const std::string &text);

/** The form of a record by its id, or of a message by its opcode: its fields, in order. w: a word;
 * i: one with a sign. s: a text in 255 octets, behind an octet with its length. A number: so many
 * octets. *: the rest.
 */
std::string form_of(uint32_t id);

/** The fields of a record that may end before its form does, or go on behind it (+: so many
 * octets). */
std::string text_of_record(const std::string &form, const Bytes &octets);

/** A record of these fields; those that are missing are zero. */
Bytes record_of_text(const std::string &form, const Lines &fields);

/** The words of a line; a text in quotation marks belongs to one word. */
Lines words_of(const std::string &line, char separator = ' ');

std::string joined(const Lines &parts, const std::string &separator);

void replace_all(std::string &text, const std::string &old, const std::string &by);
