// LoadOLD DibEffectOld
// old
