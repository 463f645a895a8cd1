// SPDX-License-Identifier: Apache-2.0
#include "schematic/schema.h"

#include <string>

#include <nlohmann/json.hpp>

#include "catalog/catalog.h"
#include "schematic/schematic.h"
#include "support/quantity.h"

namespace vantoro {

namespace {

using json = nlohmann::ordered_json;

// All but the block types. Limits are filled in from the constants that the program checks by.
constexpr const char* kForm = R"({
  "$schema": "http://json-schema.org/draft-07/schema#",
  "title": "Schematic of vantoro",
  "description": "Blocks, the wires between them, and what changes while they run. Made by 'vantoro blocks --schema'. It underlines what 'vantoro check' reports or warns of, where that follows from one value and the choices beside it.",
  "type": "object",
  "required": ["blocks"],
  "additionalProperties": false,
  "properties": {
    "$schema": {"type": "string"},
    "title": {"type": "string"},
    "note": {"type": "string"},
    "rate": {
      "description": "Sampling rate in Hz. Left out: the input file's. Given: files of other rates are refused. Needed to run without an input file.",
      "type": ["integer", "string"]
    },
    "blockSize": {"description": "Samples per pin and process call.", "type": ["integer", "string"], "pattern": "^=", "minimum": 1, "default": 64},
    "inputs": {
      "description": "Channels of the terminal \"input\". Left out: the input file's.",
      "$ref": "#/definitions/count"
    },
    "outputs": {
      "description": "Channels of the terminal \"output\". Left out: what the wires to it ask for.",
      "$ref": "#/definitions/count"
    },
    "arithmetic": {"description": "How blocks round: as documented, bit for bit; or quiet, with less noise and less time, where their type has it ('vantoro blocks NAME').", "enum": ["documented", "quiet"], "default": "documented"},
    "define": {
      "description": "Names for numbers, used as \"=name * 2\" wherever a number stands. Numbers, names, + - * / and brackets; db(x): the factor of a gain in dB; ms(x): milliseconds in samples; round(x); sqrt(x).",
      "type": "object",
      "propertyNames": {"pattern": "^[A-Za-z_][A-Za-z0-9_]*$"},
      "additionalProperties": {"type": ["number", "string"], "pattern": "^="}
    },
    "parts": {
      "description": "Sub-schematics by name, for use as blocks: {\"part\": \"name\"}. A string is the path of a file with such an object, relative to the schematic.",
      "type": "object",
      "additionalProperties": {"if": {"type": "string"}, "else": {"$ref": "#/definitions/part"}}
    },
    "blocks": {"$ref": "#/definitions/blocks"},
    "wires": {"$ref": "#/definitions/wires"},
    "changes": {
      "description": "Parameters that change while the audio runs.",
      "type": "array",
      "items": {"$ref": "#/definitions/change"}
    }
  },
  "definitions": {
    "blocks": {
      "description": "The blocks by id. Blocks that do not depend on each other run in this order.",
      "type": "object",
      "propertyNames": {
        "pattern": "^[A-Za-z_][A-Za-z0-9_-]*(/[A-Za-z_][A-Za-z0-9_-]*)*$",
        "not": {"pattern": "^(.*/)?(input|output)(/.*)?$"}
      },
      "additionalProperties": {
        "if": {"required": ["part"]},
        "then": {"$ref": "#/definitions/use"},
        "else": {"$ref": "#/definitions/block"}
      }
    },
    "wires": {
      "description": "From output pins to input pins. Several wires may leave an output pin; one enters an input pin. An input pin without a wire hears silence.",
      "type": "array",
      "items": {
        "type": "array",
        "items": [{"$ref": "#/definitions/pins"}, {"$ref": "#/definitions/pins"}],
        "minItems": 2,
        "maxItems": 2
      }
    },
    "part": {
      "description": "A sub-schematic. Its pins are \"input\" and \"output\".",
      "type": "object",
      "required": ["blocks"],
      "additionalProperties": false,
      "properties": {
        "$schema": {"type": "string"},
        "title": {"type": "string"},
        "note": {"type": "string"},
        "parameters": {
          "description": "Names and their defaults, for expressions in the part; a use sets others. One that is no number stands alone: \"=corner\".",
          "type": "object",
          "propertyNames": {"pattern": "^[A-Za-z_][A-Za-z0-9_]*$"},
          "additionalProperties": {"type": ["number", "string", "boolean"]}
        },
        "define": {
          "description": "Names for values, used in the part alone.",
          "type": "object",
          "propertyNames": {"pattern": "^[A-Za-z_][A-Za-z0-9_]*$"},
          "additionalProperties": {"type": ["number", "string", "boolean"]}
        },
        "inputs": {"description": "Their number, or a name for each. Left out: what the wires ask for.", "$ref": "#/definitions/side"},
        "outputs": {"description": "Their number, or a name for each. Left out: what the wires ask for.", "$ref": "#/definitions/side"},
        "blocks": {"$ref": "#/definitions/blocks"},
        "wires": {"$ref": "#/definitions/wires"}
      }
    },
    "side": {
      "type": ["integer", "array"],
      "minimum": 0,
      "items": {"type": "string", "pattern": "^[A-Za-z_][A-Za-z0-9_]*$"},
      "uniqueItems": true
    },
    "use": {
      "type": "object",
      "required": ["part"],
      "additionalProperties": false,
      "properties": {
        "part": {"description": "A name in \"parts\".", "type": "string"},
        "set": {
          "description": "Parameters of the part by name, and values of its blocks: \"eq.fc\".",
          "type": "object",
          "additionalProperties": {"$ref": "#/definitions/value"}
        },
        "note": {"type": "string"}
      }
    },
    "block": {
      "type": "object",
      "required": ["type"],
      "additionalProperties": false,
      "properties": {
        "type": {"description": "Name, with or without EN_, or code."},
        "inputs": {
          "description": "Input pins. Left out: what the wires and the type ask for.",
          "$ref": "#/definitions/count"
        },
        "outputs": {
          "description": "Output pins. Left out: what the wires and the type ask for.",
          "$ref": "#/definitions/count"
        },
        "params": {
          "description": "Parameters by name; those left out have their defaults. A choice by name or number, a flag as true, false, 1 or 0, a table as an array.",
          "type": "object"
        },
        "arithmetic": {"description": "Of this block, instead of the schematic's.", "enum": ["documented", "quiet"]},
        "title": {
          "description": "What the pictures of 'vantoro response' call the block, instead of its id.",
          "type": "string"
        },
        "note": {"type": "string"}
      }
    },
    "file": {
      "description": "Rows that stand in a file: samples of a sound file at the schematic's rate, or a text of numbers, a row a line.",
      "type": "object",
      "required": ["file"],
      "additionalProperties": false,
      "properties": {
        "file": {"description": "Its path, relative to the schematic's folder.", "type": "string"},
        "channel": {"description": "Of a sound file, from 0. Left out: the only one.", "type": "integer", "minimum": 0}
      }
    },
    "count": {"type": ["integer", "string"], "minimum": 0, "pattern": "^="},
    "pins": {
      "description": "\"eq\": all pins; \"eq.0\": one; \"eq.0-3\": a run; \"eq.1-\": from pin 1 on; \"xo.low\", \"xo.low.1\": the same of pins that have a name. \"input\" and \"output\" are the channels of the files.",
      "type": "string",
      "pattern": "^[A-Za-z_][A-Za-z0-9_/-]*(\\.[A-Za-z_][A-Za-z0-9_]*)?(\\.[0-9]+(-[0-9]*)?)?$"
    },
    "value": {
      "anyOf": [
        {"type": ["number", "boolean", "string"]},
        {"type": "array", "items": {"$ref": "#/definitions/value"}},
        {"type": "object", "additionalProperties": {"$ref": "#/definitions/value"}}
      ]
    },
    "change": {
      "type": "object",
      "required": ["at", "set"],
      "additionalProperties": false,
      "properties": {
        "at": {
          "description": "Seconds from the start; made before the first block of audio that starts then or later.",
          "type": ["number", "string"],
          "minimum": 0
        },
        "over": {
          "description": "Seconds on the way to the new values, a step per block of audio: equal ratios where the parameter is on a logarithmic scale, else equal differences.",
          "type": ["number", "string"],
          "minimum": 0,
          "maximum": 3600
        },
        "set": {
          "description": "\"block.parameter\" to value; \"block.bands[3].boostDb\" for one value of a table.",
          "type": "object",
          "propertyNames": {"pattern": "^[A-Za-z_][A-Za-z0-9_/-]*\\..+$"},
          "additionalProperties": {"$ref": "#/definitions/value"}
        },
        "note": {"type": "string"}
      }
    }
  }
})";

// One side of a rule: what a block's `inputs` or `outputs` may be, where that does not follow from the other side.
json count_schema(const VantoroPinCount& side)
{
    if (side.of == VANTORO_NONE)
        return {{"const", side.fixed}};
    return {{"minimum", side.fixed + side.times}};
}

// What holds for a block of this type; its parameters are the definition of its name.
json condition_of(const BlockType& type)
{
    const std::string name = type.name;
    json then{{"inputs", count_schema(type.pins->inputs)},
              {"outputs", count_schema(type.pins->outputs)},
              {"params", {{"$ref", "#/definitions/" + name}}}};
    const json names{{"enum", json::array({name, "EN_" + name, type.type})}};
    return {{"if", {{"properties", {{"type", names}}}, {"required", json::array({"type"})}}},
            {"then", {{"description", type.summary}, {"properties", then}}}};
}

}  // namespace

json schematic_schema()
{
    json schema = json::parse(kForm);
    json& top = schema["properties"];
    top["rate"].update({{"minimum", kMinRate}, {"maximum", kMaxRate}, {"pattern", quantity_pattern("Hz")}});
    top["blockSize"]["maximum"] = kMaxBlockSize;
    json& definitions = schema["definitions"];
    definitions["blocks"]["maxProperties"] = kMaxBlocks;
    definitions["side"].update({{"maximum", kMaxPins}, {"maxItems", kMaxPins}});
    definitions["change"]["properties"]["at"]["pattern"] = "^=|" + quantity_pattern("s");
    definitions["count"]["maximum"] = kMaxPins;
    json names = json::array();
    std::string prefixed;
    for (const BlockType* type : every_type()) {
        if (is_terminal(*type))
            continue;
        names.push_back(type->name);
        prefixed += (prefixed.empty() ? "" : "|") + std::string(type->name);
        definitions["block"]["allOf"].push_back(condition_of(*type));
        definitions[type->name] = params_schema(*type);
    }
    definitions["block"]["properties"]["type"]["anyOf"] = json::array(
        {{{"enum", names}}, {{"type", "string"}, {"pattern", "^EN_(" + prefixed + ")$"}}, {{"type", "integer"}}});
    return schema;
}

}  // namespace vantoro
