#!/usr/bin/env python3
"""Turns a small convolutional network from TensorFlow Lite's file format into ONNX.

    tflite_to_onnx.py <model.tflite> <model.onnx> [<first byte> <end>]

Weights of 16 bits become ones of 32. Pictures go in with their channels first, as ONNX has it; what
comes out is in the order that the network had. Knows the operators of face networks and refuses any
other. Needs numpy and onnx, nothing of TensorFlow.
"""

import struct
import sys

import numpy as np
import onnx
from onnx import TensorProto, helper, numpy_helper

TYPES = {0: np.float32, 1: np.float16, 2: np.int32, 4: np.int64}
OPERATORS = {
    0: "ADD", 2: "CONCATENATION", 3: "CONV_2D", 4: "DEPTHWISE_CONV_2D", 6: "DEQUANTIZE",
    14: "LOGISTIC", 17: "MAX_POOL_2D", 19: "RELU", 22: "RESHAPE", 23: "RESIZE_BILINEAR",
    34: "PAD", 54: "PRELU",
}
SAME = 0
ACTIVATIONS = {1: "Relu"}


class Table:
    """A table of a FlatBuffer: fields by their number, each with what it is worth when left out."""

    def __init__(self, data, at):
        self.data = data
        self.at = at
        self.fields = at - struct.unpack_from("<i", data, at)[0]

    def _place(self, field):
        size = struct.unpack_from("<H", self.data, self.fields)[0]
        entry = 4 + 2 * field
        offset = struct.unpack_from("<H", self.data, self.fields + entry)[0] if entry < size else 0
        return self.at + offset if offset else None

    def number(self, field, kind="i", default=0):
        place = self._place(field)
        return default if place is None else struct.unpack_from("<" + kind, self.data, place)[0]

    def _target(self, place):
        return place + struct.unpack_from("<I", self.data, place)[0]

    def table(self, field):
        place = self._place(field)
        return None if place is None else Table(self.data, self._target(place))

    def bytes(self, field):
        place = self._place(field)
        if place is None:
            return b""
        start = self._target(place)
        count = struct.unpack_from("<I", self.data, start)[0]
        return self.data[start + 4:start + 4 + count]

    def integers(self, field):
        place = self._place(field)
        if place is None:
            return []
        start = self._target(place)
        count = struct.unpack_from("<I", self.data, start)[0]
        return list(struct.unpack_from(f"<{count}i", self.data, start + 4))

    def tables(self, field):
        place = self._place(field)
        if place is None:
            return []
        start = self._target(place)
        count = struct.unpack_from("<I", self.data, start)[0]
        return [Table(self.data, self._target(start + 4 + 4 * i)) for i in range(count)]


class Converter:
    def __init__(self, data):
        if data[4:8] != b"TFL3":
            raise ValueError("no model of TensorFlow Lite")
        model = Table(data, struct.unpack_from("<I", data, 0)[0])
        codes = [max(c.number(0, "b"), c.number(3)) for c in model.tables(1)]
        self.buffers = model.tables(4)
        graph = model.tables(2)[0]
        self.tensors = graph.tables(0)
        self.inputs, self.outputs = graph.integers(1), graph.integers(2)
        self.operators = [(codes[o.number(0)], o) for o in graph.tables(3)]
        self.nodes, self.weights, self.constants = [], [], {}

    def shape(self, tensor):
        return self.tensors[tensor].integers(0)

    def name(self, tensor):
        return f"t{tensor}"

    def constant(self, tensor):
        """What a tensor holds that is known beforehand, or None."""
        if tensor in self.constants:
            return self.constants[tensor]
        raw = self.buffers[self.tensors[tensor].number(2)].bytes(0)
        if not raw:
            return None
        kind = TYPES[self.tensors[tensor].number(1, "b")]
        return np.frombuffer(raw, kind).reshape(self.shape(tensor))

    def weight(self, values):
        name = f"w{len(self.weights)}"
        self.weights.append(numpy_helper.from_array(np.ascontiguousarray(values), name))
        return name

    def add(self, kind, inputs, output, **attributes):
        self.nodes.append(helper.make_node(kind, inputs, [output], **attributes))

    def activated(self, kind, output):
        """The name to write to so that `output` holds the same after its activation function."""
        if kind == 0:
            return self.name(output)
        inner = self.name(output) + "_before"
        self.late = helper.make_node(ACTIVATIONS[kind], [inner], [self.name(output)])
        return inner

    def window(self, tensor, kernel, strides, padding, output):
        """Rows and columns to add before and after, as ONNX wants them told."""
        if padding != SAME:
            return [0, 0, 0, 0]
        begin, end = [], []
        for axis in (0, 1):
            size, result = self.shape(tensor)[1 + axis], self.shape(output)[1 + axis]
            total = max((result - 1) * strides[axis] + kernel[axis] - size, 0)
            begin.append(total // 2)
            end.append(total - total // 2)
        return begin + end

    def convolution(self, options, inputs, output, is_depthwise):
        weights = self.constant(inputs[1]).astype(np.float32)
        # Filters, rows, columns, channels; of a depthwise one: 1, rows, columns, filters.
        weights = weights.transpose(3, 0, 1, 2) if is_depthwise else weights.transpose(0, 3, 1, 2)
        kernel = list(weights.shape[2:])
        strides = [options.number(2, default=1), options.number(1, default=1)]
        dilations = [options.number(6 if is_depthwise else 5, default=1),
                     options.number(5 if is_depthwise else 4, default=1)]
        if dilations != [1, 1]:
            raise ValueError("dilated convolutions are not known")
        names = [self.name(inputs[0]), self.weight(weights)]
        if len(inputs) > 2:
            names.append(self.weight(self.constant(inputs[2]).astype(np.float32)))
        to = self.activated(options.number(4 if is_depthwise else 3, "b"), output)
        self.add("Conv", names, to, kernel_shape=kernel, strides=strides,
                 pads=self.window(inputs[0], kernel, strides, options.number(0, "b"), output),
                 group=self.shape(inputs[0])[3] if is_depthwise else 1)

    def convert_CONV_2D(self, options, inputs, output):
        self.convolution(options, inputs, output, False)

    def convert_DEPTHWISE_CONV_2D(self, options, inputs, output):
        self.convolution(options, inputs, output, True)

    def convert_DEQUANTIZE(self, options, inputs, output):
        self.constants[output] = self.constant(inputs[0]).astype(np.float32)

    def convert_ADD(self, options, inputs, output):
        names = [self.name(i) for i in inputs]
        self.add("Add", names, self.activated(options.number(0, "b"), output))

    def convert_RELU(self, options, inputs, output):
        self.add("Relu", [self.name(inputs[0])], self.name(output))

    def convert_LOGISTIC(self, options, inputs, output):
        self.add("Sigmoid", [self.name(inputs[0])], self.name(output))

    def convert_PRELU(self, options, inputs, output):
        slope = self.constant(inputs[1]).astype(np.float32).reshape(-1, 1, 1)
        self.add("PRelu", [self.name(inputs[0]), self.weight(slope)], self.name(output))

    def convert_MAX_POOL_2D(self, options, inputs, output):
        kernel = [options.number(4), options.number(3)]
        strides = [options.number(2), options.number(1)]
        to = self.activated(options.number(5, "b"), output)
        self.add("MaxPool", [self.name(inputs[0])], to, kernel_shape=kernel, strides=strides,
                 pads=self.window(inputs[0], kernel, strides, options.number(0, "b"), output))

    def convert_PAD(self, options, inputs, output):
        begin, end = self.constant(inputs[1])[[0, 3, 1, 2]].T.astype(np.int64)
        pads = self.weight(np.concatenate([begin, end]))
        self.add("Pad", [self.name(inputs[0]), pads], self.name(output), mode="constant")

    def convert_RESIZE_BILINEAR(self, options, inputs, output):
        if options.number(2, "b"):
            mode = "align_corners"
        else:
            mode = "half_pixel" if options.number(3, "b") else "asymmetric"
        rows, columns = self.constant(inputs[1])
        size = [1, self.shape(inputs[0])[3], rows, columns]
        empty = self.weight(np.zeros(0, np.float32))
        self.add("Resize", [self.name(inputs[0]), empty, empty, self.weight(np.int64(size))],
                 self.name(output), mode="linear", coordinate_transformation_mode=mode)

    def convert_RESHAPE(self, options, inputs, output):
        inner = self.name(output) + "_last"
        self.add("Transpose", [self.name(inputs[0])], inner, perm=[0, 2, 3, 1])
        self.add("Reshape", [inner, self.weight(np.int64(self.shape(output)))], self.name(output))

    def convert_CONCATENATION(self, options, inputs, output):
        axis = options.number(0)
        if len(self.shape(output)) == 4:
            axis = [0, 2, 3, 1][axis]
        to = self.activated(options.number(1, "b"), output)
        self.add("Concat", [self.name(i) for i in inputs], to, axis=axis)

    def run(self):
        for code, operator in self.operators:
            if code not in OPERATORS:
                raise ValueError(f"operator {code} is not known")
            self.late = None
            convert = getattr(self, "convert_" + OPERATORS[code])
            convert(operator.table(4), operator.integers(1), operator.integers(2)[0])
            if self.late:
                self.nodes.append(self.late)
        graph = helper.make_graph(
            self.nodes, "network", [self.port(i) for i in self.inputs],
            [self.port(o) for o in self.outputs], self.weights)
        model = helper.make_model(graph, opset_imports=[helper.make_opsetid("", 11)])
        model.ir_version = 6
        onnx.checker.check_model(model)
        return model

    def port(self, tensor):
        shape = self.shape(tensor)
        if len(shape) == 4:
            shape = [shape[0], shape[3], shape[1], shape[2]]
        return helper.make_tensor_value_info(self.name(tensor), TensorProto.FLOAT, shape)


def main(source, target, start=None, end=None):
    with open(source, "rb") as file:
        data = file.read()[int(start or 0):int(end) if end else None]
    model = Converter(data).run()
    with open(target, "wb") as file:
        file.write(model.SerializeToString(deterministic=True))


if __name__ == "__main__":
    if len(sys.argv) not in (3, 5):
        sys.exit(__doc__)
    main(*sys.argv[1:])
