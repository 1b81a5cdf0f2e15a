#include "document/stackreader.h"

#include <memory>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stack.h"
#include "document/stackslice.h"
#include "document/statementarguments.h"

namespace vorlen {

using namespace statements;

void StackReader::inputModel(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    Stack& stack = required(context.getStack());
    auto model = std::make_unique<Model>();
    model->setName(toName(tokens[1]));
    stack.addModel(model.get());
    context.setModel(model.release());
}

void StackReader::inputModelGroup(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getModelProperties()).setGroup(toName(tokens[1]));
}

void StackReader::inputPrimitive(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    ModelProperties& properties = required(context.getModelProperties());
    const MPrimitive geometry = ModelProperties::toPrimitive(std::string(tokens[1]));
    if (geometry == UnknownPrimitive)
        throw ArgValueError();
    properties.setGeometry(geometry);
}

void StackReader::inputRenderingMode(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    ModelProperties& properties = required(context.getModelProperties());
    const RenderingMode mode = ModelProperties::toRenderingMode(std::string(tokens[1]));
    if (mode == UnknownRendering)
        throw ArgValueError();
    properties.setRenderingMode(mode);
}

void StackReader::inputResampling(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 2);
    ModelProperties& properties = required(context.getModelProperties());
    const int width = toSize(tokens[1]), height = toSize(tokens[2]);
    properties.setQuadMeshWidth(static_cast<unsigned int>(width));
    properties.setQuadMeshHeight(static_cast<unsigned int>(height));
}

void StackReader::inputTransparency(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getModelProperties()).setSurfaceOpacity(toFinite(tokens[1]));
}

void StackReader::inputBrilliancy(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getModelProperties()).setSurfaceShininess(toFinite(tokens[1]));
}

void StackReader::inputEcoRendering(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getModelProperties()).setEconomicRendering(toBool(tokens[1]));
}

void StackReader::inputBeginCap(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getModelProperties()).setBeginCapFlag(toBool(tokens[1]));
}

void StackReader::inputEndCap(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getModelProperties()).setEndCapFlag(toBool(tokens[1]));
}

void StackReader::inputColor(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 3);
    ModelItemProperties& properties = required(context.getModelItemProperties());
    properties.setColor(toInt(tokens[1]) & 255, toInt(tokens[2]) & 255, toInt(tokens[3]) & 255);
}

void StackReader::inputThickness(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getModelItemProperties()).setLineWidth(toFinite(tokens[1]));
}

void StackReader::inputPointSize(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getModelItemProperties()).setPointSize(toFinite(tokens[1]));
}

void StackReader::inputVertexSymbol(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    ModelItemProperties& properties = required(context.getModelItemProperties());
    const VertexSymbol symbol = ModelItemProperties::toVertexSymbol(std::string(tokens[1]));
    if (symbol == UnknownSymbol)
        throw ArgValueError();
    properties.setVertexSymbol(symbol);
}

void StackReader::inputFilledIn(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getModelItemProperties()).setVertexSymbolFilling(toBool(tokens[1]));
}

void StackReader::inputHidden3D(const Tokens& tokens, StackIOContext& context) {
    requireArguments(tokens, 1);
    required(context.getModelItemProperties()).setRenderingVisibility(!toBool(tokens[1]));
}

void StackReader::inputModelItem(const Tokens& tokens, StackIOContext& context) {
    context.setItem(nullptr);
    requireArguments(tokens, 2);
    Stack& stack = required(context.getStack());
    Model* const model = findModel(stack, toName(tokens[1]));
    vorlen::StackSlice* const slice = findSlice(stack, toName(tokens[2]));
    if (model == nullptr || slice == nullptr)
        throw ArgValueError();
    auto item = std::make_unique<ModelItem>();
    item->setModel(model);
    item->setSlice(slice);
    item->attach();
    context.setItem(item.release());
}

void StackReader::inputModelItemData(const Tokens& tokens, StackIOContext& context) {
    if (!__outline.empty()) {
        ModelItem& item = required(context.getItem());
        item.setVertices(__outline.data(), static_cast<int>(__outline.size() / 2));
        item.setClockwise(false);
        return;
    }
    if (tokens.size() < 2)
        throw NumArgsError();
    ModelItem& item = required(context.getItem());
    for (std::size_t i = 1; i < tokens.size(); ++i)
        if (tokens[i].find(',') == std::string_view::npos)
            throw ArgValueError();
    const int size = static_cast<int>(tokens.size()) - 1;
    Vertices<double> vertices(2, size, size, size);
    for (int i = 0; i < size; ++i) {
        const std::string_view token = tokens[static_cast<std::size_t>(i) + 1];
        const std::size_t comma = token.find(',');
        double* const vertex = vertices[i].data();
        vertex[0] = toCoordinate(token.substr(0, comma));
        vertex[1] = toCoordinate(token.substr(comma + 1));
    }
    item.setVertices(vertices);
    item.setClockwise(false);
}

} // namespace vorlen
