// LoadOLD DibEffectOld
