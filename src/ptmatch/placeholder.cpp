// Removed by the first real source of this layer.
