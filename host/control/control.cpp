// SPDX-License-Identifier: Apache-2.0
#include "control/control.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <utility>
#include <vector>

#include "analysis/speaker.h"
#include "catalog/path.h"
#include "catalog/words.h"
#include "control/messages.h"
#include "control/responses.h"
#include "support/json_fields.h"
#include "support/json_text.h"
#include "support/printable.h"

namespace vantoro {

using nlohmann::json;
using nlohmann::ordered_json;

// One request on its way. `value` is what the verb has.
struct Control::Request {
    json body;
    std::string_view text;
    Client& client;
    std::string verb{};
    json value{};
    ordered_json answer{};
    std::vector<Assignment> values{};  // that were set
    bool leave = false;                // the client is not welcome

    [[noreturn]] void refuse(const std::string& below, std::string wanted) const
    {
        throw UserError({{"/" + verb + below, as_text(value), std::move(wanted)}});
    }
    // The value in the order of the text.
    ordered_json in_order() const { return ordered_json::parse(text)[verb]; }
    void expect_true() const
    {
        if (value != true)
            refuse("", "true");
    }
    void expect_object(const char* example) const
    {
        if (!value.is_object())
            refuse("", std::string("an object: ") + example);
    }
    // Reads members of the value and throws what is wrong with them.
    template <class Read>
    void fields(std::initializer_list<std::string_view> names, Read read) const
    {
        std::vector<Problem> problems;
        const Fields all(value, "/" + verb, problems);
        all.allow(names);
        read(all);
        if (!problems.empty())
            throw UserError(std::move(problems));
    }
};

namespace {

constexpr int kProtocol = 1;

std::vector<std::string> texts(const Fields& fields, const char* name, const json* value)
{
    std::vector<std::string> out;
    if (!value)
        return out;
    for (const json& item : value->is_array() ? *value : json::array({nullptr})) {
        if (!item.is_string()) {
            fields.fault(name, "an array of strings");
            break;
        }
        out.push_back(item.get<std::string>());
    }
    return out;
}

}  // namespace

bool same_token(std::string_view a, std::string_view b)
{
    unsigned different = a.size() == b.size() ? 0 : 1;
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i)
        different |= static_cast<unsigned char>(a[i]) ^ static_cast<unsigned>(static_cast<unsigned char>(b[i]));
    return different == 0;
}

Control::Control(Document& document, Player& player, ControlOptions options, Peers& peers)
    : document_(document), player_(player), options_(std::move(options)), peers_(peers), played_(document.revision())
{}

// ---- clients ----

void Control::join(int client, bool trusted, bool greeted)
{
    clients_.emplace(client, Client{"client " + std::to_string(client), trusted || options_.token.empty(), greeted,
                                    Subscription(player_)});
}

bool Control::greeted(int client) const
{
    const auto found = clients_.find(client);
    return found != clients_.end() && found->second.greeted;
}

void Control::send(int client, const ordered_json& message)
{
    peers_.send(client,
                std::make_shared<const std::string>(message.dump(-1, ' ', false, json::error_handler_t::replace)));
}

void Control::send_all(const ordered_json& message)
{
    const auto text = std::make_shared<const std::string>(message.dump(-1, ' ', false, json::error_handler_t::replace));
    for (const auto& [number, client] : clients_)
        if (client.greeted)
            peers_.send(number, text);
}

void Control::dismiss(int client, const std::string& why)
{
    send(client, {{"bye", why}});
    peers_.close(client);
}

void Control::farewell(const std::string& why)
{
    for (const auto& [number, client] : clients_)
        dismiss(number, why);
}

void Control::tick(double now)
{
    for (auto& [number, client] : clients_)
        client.subscription.tick(now, document_, [&, to = number](const ordered_json& message) { send(to, message); });
}

void Control::look_at_file()
{
    if (!document_.poll())
        return;
    by_ = "file";
    play();
    options_.file_read(document_);
    if (document_.file_problems().empty())
        send_all({{"state", state_json(document_, by_, speaker_name_)}});
    else
        send_all({{"problems", to_json(document_.file_problems())}});
}

void Control::play()
{
    if (document_.revision() != std::exchange(played_, document_.revision()))
        player_.play(document_.heard(), played_);
}

// ---- requests ----

const std::map<std::string, Control::Verb, std::less<>>& Control::verbs()
{
    static const std::map<std::string, Verb, std::less<>> verbs = {
        {"hello", &Control::hello},         {"get", &Control::get},       {"set", &Control::set},
        {"edit", &Control::edit},           {"solo", &Control::solo},     {"bypass", &Control::bypass},
        {"subscribe", &Control::subscribe}, {"curve", &Control::curve},   {"response", &Control::response},
        {"undo", &Control::undo},           {"redo", &Control::redo},     {"ab", &Control::ab},
        {"preset", &Control::preset},       {"save", &Control::save},     {"reload", &Control::reload},
        {"speaker", &Control::speaker},     {"status", &Control::status}, {"devices", &Control::devices}};
    return verbs;
}

void Control::take(int client, std::string_view text)
{
    const auto found = clients_.find(client);
    if (found == clients_.end())
        return;
    Request request{{}, text, found->second};
    request.answer["id"] = nullptr;
    std::vector<Problem> problems;
    if (text.size() > kMaxMessage)
        problems.push_back({{}, std::to_string(text.size()) + " bytes", "at most 256 kB"});
    else
        request.body = parse_json(text, problems);
    if (problems.empty() && !request.body.is_object())
        problems.push_back({{}, as_text(request.body), "an object: {\"id\": 1, \"get\": []}"});
    if (!problems.empty()) {
        request.answer["problems"] = to_json(problems);
        send(client, request.answer);
        return;
    }
    serve(client, found->second, request);
}

void Control::serve(int number, Client& client, Request& request)
{
    Push push = Push::nothing;
    try {
        push = answer(client, request);
    } catch (const UserError& error) {
        request.answer["problems"] = to_json(error.problems());
    } catch (const std::exception& error) {
        request.answer["problems"] = to_json(std::vector<Problem>{{"/" + request.verb, {}, error.what()}});
    }
    play();
    send(number, request.answer);
    spread(push, request);
    if (request.leave)
        dismiss(number, "wrong token");
}

Control::Push Control::answer(Client& client, Request& request)
{
    std::vector<Problem> problems;
    const Fields fields(request.body, "", problems);
    if (const json* id = fields.need("id", "a number that the answer repeats"); id && id->is_number_integer())
        request.answer["id"] = *id;
    else if (id)
        fields.fault("id", "a whole number that the answer repeats");
    for (const auto& [key, value] : request.body.items()) {
        if (key == "id" || (key == "gesture" && request.body.contains("set")))
            continue;
        if (!verbs().contains(key))
            problems.push_back({"/" + printable(shortened(key, 60)), {}, "unknown key"});
        else if (!request.verb.empty())
            problems.push_back({"/" + key, {}, "one request a message"});
        else
            request.verb = key;
    }
    if (problems.empty() && request.verb.empty())
        problems.push_back({{}, {}, "a request: {\"id\": 1, \"get\": []}"});
    if (problems.empty() && !client.greeted && request.verb != "hello")
        problems.push_back({"/" + request.verb, {}, "hello first: {\"id\": 1, \"hello\": {\"protocol\": 1}}"});
    if (!problems.empty())
        throw UserError(std::move(problems));
    request.value = request.body.at(request.verb);
    return (this->*verbs().at(request.verb))(request);
}

void Control::spread(Push push, const Request& request)
{
    if (push == Push::nothing)
        return;
    by_ = request.client.name;
    if (push == Push::state) {
        send_all({{"state", state_json(document_, by_, speaker_name_)}});
        return;
    }
    ordered_json values = ordered_json::object();
    for (const Assignment& value : request.values)
        values[value.path] = value.value;
    send_all({{"changed",
               {{"rev", document_.revision()},
                {"saved", document_.saved()},
                {"by", by_},
                {"values", values},
                {"undo", document_.undo_depth()},
                {"redo", document_.redo_depth()},
                {"undoWhat", document_.undo_what()},
                {"abDiffers", document_.sides_differ()}}}});
}

// ---- who and what ----

Control::Push Control::hello(Request& request)
{
    constexpr std::size_t kLongestName = 40;
    request.expect_object("{\"protocol\": 1}");
    std::string name, token;
    std::optional<int> protocol;
    request.fields({"protocol", "client", "token"}, [&](const Fields& fields) {
        name = fields.text("client");
        token = fields.text("token");
        if (fields.need("protocol", "1"))
            protocol = fields.whole("protocol", kProtocol, kProtocol);
    });
    Client& client = request.client;
    if (!client.trusted && !same_token(token, options_.token)) {
        request.value = nullptr;  // what was tried is repeated nowhere
        request.leave = true;
        throw UserError({{"/hello/token", {}, "the token that the program printed"}});
    }
    client.trusted = client.greeted = true;
    if (!name.empty())
        client.name = printable(shortened(name, kLongestName)) + client.name.substr(client.name.rfind(' '));
    static const ordered_json catalog = catalog_json();
    document_.list_presets();
    request.answer["hello"] = {{"protocol", kProtocol},
                               {"program", options_.program},
                               {"file", std::filesystem::path(document_.name()).filename().string()},
                               {"rate", document_.rate()},
                               {"blockSize", document_.schematic().block_size},
                               {"catalog", catalog},
                               {"state", state_json(document_, by_, speaker_name_)}};
    return Push::nothing;
}

Control::Push Control::devices(Request& request)
{
    request.expect_true();
    request.answer["devices"] = options_.devices();
    return Push::nothing;
}

Control::Push Control::status(Request& request)
{
    request.expect_true();
    request.answer["status"] = to_json(player_.status());
    return Push::nothing;
}

Control::Push Control::subscribe(Request& request)
{
    request.answer.update(request.client.subscription.change(request.value, document_));
    return Push::nothing;
}

// ---- values ----

Control::Push Control::get(Request& request)
{
    std::vector<Problem> problems;
    const Schematic& schematic = document_.schematic();
    ordered_json values = ordered_json::object();
    const Fields fields(request.body, "", problems);
    std::vector<std::string> paths = texts(fields, "get", &request.value);
    if (request.value.is_array() && request.value.empty())
        for (const Block& block : schematic.blocks)
            paths.push_back(block.id);
    for (const std::string& path : problems.empty() ? paths : std::vector<std::string>()) {
        const auto [block, below] = target_of(schematic, path);
        const json params = named_values(*block.type, block.pins, block.vector);
        std::string where;
        if (const json* value = below.empty() ? &params : find_value(params, below, path, where, problems))
            values[path] = tidy(*value);
    }
    if (!problems.empty())
        throw UserError(std::move(problems));
    request.answer.update({{"rev", document_.revision()}, {"values", values}});
    return Push::nothing;
}

Control::Push Control::set(Request& request)
{
    request.expect_object("{\"eq.fc\": 2000}");
    std::string gesture;
    if (const auto name = request.body.find("gesture"); name != request.body.end()) {
        if (!name->is_string())
            throw UserError({{"/gesture", as_text(*name), "a string"}});
        gesture = request.client.name + '/' + name->get<std::string>();
    }
    const ordered_json set = request.in_order();
    for (const auto& [path, value] : set.items())
        request.values.push_back({path, tidy(value)});
    const std::uint64_t before = document_.revision();
    const std::vector<Problem> warnings = document_.set(request.values, gesture);
    request.answer["rev"] = document_.revision();
    if (!warnings.empty())
        request.answer["warnings"] = to_json(warnings);
    return document_.revision() != before ? Push::changed : Push::nothing;
}

Control::Push Control::edit(Request& request)
{
    request.expect_object("{\"schematic\": {...}}");
    request.fields({"schematic"}, [&](const Fields& fields) { fields.need("schematic", "a whole schematic"); });
    document_.edit(request.in_order()["schematic"]);
    request.answer["rev"] = document_.revision();
    return Push::state;
}

// ---- curves ----

Control::Push Control::response(Request& request)
{
    constexpr int kMaxPoints = 200;
    request.expect_object("{\"from\": \"input.0\", \"to\": [\"output.0\"]}");
    const Schematic& schematic = document_.schematic();
    ResponseRequest wanted;
    request.fields({"from", "to", "blocks", "pointsPerOctave"}, [&](const Fields& fields) {
        const std::string from = fields.text("from");
        const auto channel = terminal_channel(from, "input", schematic.inputs);
        if (!from.empty() && !channel)
            fields.fault("from", "a channel of the input: \"input.0\"");
        wanted.from = channel.value_or(0);
        for (const std::string& name : texts(fields, "to", fields.find("to")))
            if (const auto n = terminal_channel(name, "output", static_cast<int>(schematic.outputs.size())))
                wanted.to.push_back(*n);
            else
                fields.fault("to", "outputs: \"output.0\"");
        wanted.blocks = texts(fields, "blocks", fields.find("blocks"));
        wanted.points_per_octave = fields.whole("pointsPerOctave", 1, kMaxPoints).value_or(wanted.points_per_octave);
    });
    for (const std::string& id : wanted.blocks)
        target_of(schematic, id);
    request.answer["rev"] = document_.revision();
    request.answer.update(response_json(document_, wanted, speaker_));
    return Push::nothing;
}

Control::Push Control::curve(Request& request)
{
    request.expect_object("{\"block\": \"comp\"}");
    std::string block;
    request.fields({"block"}, [&](const Fields& fields) { block = fields.text("block"); });
    request.answer["rev"] = document_.revision();
    request.answer.update(curve_json(document_, block));
    return Push::nothing;
}

Control::Push Control::speaker(Request& request)
{
    constexpr std::size_t kLongest = 200U << 10U, kLongestName = 100;
    constexpr int kPoints = 24;
    std::string text, name = "loudspeaker";
    if (!request.value.is_null()) {
        request.expect_object("{\"text\": \"20 80.1 0\\n...\"}, or null");
        request.fields({"text", "name"}, [&](const Fields& fields) {
            fields.need("text", "rows of frequency, level and phase");
            text = fields.text("text");
            if (const std::string given = fields.text("name"); !given.empty())
                name = printable(shortened(given, kLongestName));
        });
        if (text.size() > kLongest)
            throw UserError({{"/speaker/text", std::to_string(text.size()) + " bytes", "at most 200 kB"}});
        parse_speaker(text, name, make_axis(document_.rate(), kPoints));
    }
    speaker_ = std::move(text);
    speaker_name_ = speaker_.empty() ? "" : name;
    request.answer["rev"] = document_.revision();
    return Push::state;
}

// ---- how it is listened to, and the way back ----

Control::Push Control::bypass(Request& request)
{
    request.expect_object("{\"eq\": true}");
    std::map<std::string, bool> blocks;
    for (const auto& [id, on] : request.value.items())
        if (on.is_boolean())
            blocks[id] = on.get<bool>();
        else
            request.refuse("/" + id, "true or false");
    document_.bypass(blocks);
    request.answer["rev"] = document_.revision();
    return Push::state;
}

Control::Push Control::solo(Request& request)
{
    std::vector<Problem> problems;
    const std::vector<std::string> outputs = texts(Fields(request.body, "", problems), "solo", &request.value);
    if (!problems.empty())
        throw UserError(std::move(problems));
    document_.solo(outputs);
    request.answer["rev"] = document_.revision();
    return Push::state;
}

Control::Push Control::undo(Request& request)
{
    request.expect_true();
    document_.undo();
    request.answer["rev"] = document_.revision();
    return Push::state;
}

Control::Push Control::redo(Request& request)
{
    request.expect_true();
    document_.redo();
    request.answer["rev"] = document_.revision();
    return Push::state;
}

Control::Push Control::ab(Request& request)
{
    if (request.value == "a" || request.value == "b")
        document_.switch_to(request.value == "a" ? 'a' : 'b');
    else if (request.value == "copy")
        document_.copy();
    else
        request.refuse("", "\"a\", \"b\" or \"copy\"");
    request.answer["rev"] = document_.revision();
    return Push::state;
}

// ---- files ----

Control::Push Control::preset(Request& request)
{
    request.expect_object("{\"load\": \"day\"}");
    if (request.value.size() != 1)
        request.refuse("", "one of list, load, store and remove");
    const std::string what = request.value.begin().key();
    const json& name = *request.value.begin();
    if (what == "list" && name == true)
        document_.list_presets();
    else if (what == "list" || !name.is_string())
        request.refuse("/" + printable(what), what == "list" ? "true" : "a name");
    else if (what == "load")
        document_.load_preset(name.get<std::string>());
    else if (what == "store")
        document_.store_preset(name.get<std::string>());
    else if (what == "remove")
        document_.remove_preset(name.get<std::string>());
    else
        request.refuse("/" + printable(shortened(what, 60)), "one of list, load, store and remove");
    request.answer.update({{"rev", document_.revision()}, {"presets", document_.presets()}});
    return what == "list" ? Push::nothing : Push::state;
}

Control::Push Control::save(Request& request)
{
    request.expect_object("{\"rev\": 123}");
    bool list = false;
    const json* revision = nullptr;
    request.fields({"rev", "list"}, [&](const Fields& fields) {
        revision = fields.need("rev", "the revision that is to be saved");
        if (revision && !revision->is_number_unsigned())
            fields.fault("rev", "the revision that is to be saved");
        const json* only = fields.find("list");
        if (only && !only->is_boolean())
            fields.fault("list", "true or false");
        list = only && *only == true;
    });
    ordered_json changes = ordered_json::array();
    for (const Difference& d : document_.changes())
        changes.push_back({{"path", d.what}, {"was", d.from}, {"is", d.to}});
    if (!list)
        document_.save(revision->get<std::uint64_t>());
    request.answer.update(
        {{"rev", document_.revision()}, {"saved", document_.saved()}, {"changes", std::move(changes)}});
    return list ? Push::nothing : Push::state;
}

Control::Push Control::reload(Request& request)
{
    request.expect_true();
    document_.reload();
    request.answer["rev"] = document_.revision();
    return Push::state;
}

}  // namespace vantoro
